#include <gtest/gtest.h>

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include "core/SwJsonArray.h"

TEST(SwJsonArray, KeepsTheOrderOfAppendingAndAtPastTheEndThrows) {
  SwJsonArray array;
  EXPECT_TRUE(array.empty());
  array.reserve(2);
  array.append("a");
  array.append(2);
  ASSERT_EQ(array.size(), 2U);
  EXPECT_EQ(array[0].text(), "a");
  EXPECT_EQ(array.at(1).integer(), 2);
  int sum = 0;
  for (const SwJsonValue& value : array) sum += static_cast<int>(value.integer());
  EXPECT_EQ(sum, 2);
  EXPECT_THROW(array.at(2), std::out_of_range);
}

TEST(SwJsonArray, AppendsACopyOfItsOwnElement) {
  SwJsonArray array;
  array.append("a text that is too long for the string's own buffer");
  for (int i = 0; i < 10; ++i) array.append(array[0]);
  EXPECT_EQ(array[10], array[0]);
  EXPECT_TRUE(array[0].isString());
}

TEST(SwJsonArray, AssignmentFromInsideTheArray) {
  SwJsonArray inner;
  inner.append(7);
  SwJsonArray array;
  array.append(std::move(inner));
  array = std::move(*array[0].array());
  ASSERT_EQ(array.size(), 1U);
  EXPECT_EQ(array[0].integer(), 7);
}

TEST(SwJsonArray, AnElementOfATemporaryIsAValue) {
  SwJsonArray array;
  array.append("a text that needs memory");
  static_assert(std::is_same_v<decltype(SwJsonArray()[0]), SwJsonValue>);
  static_assert(std::is_same_v<decltype(SwJsonArray().at(0)), SwJsonValue>);
  const SwJsonValue& copied = SwJsonArray(array).at(0);
  EXPECT_EQ(copied.text(), "a text that needs memory");
  EXPECT_THROW(SwJsonArray(array).at(1), std::out_of_range);
  const char* bytes = array[0].text().data();
  EXPECT_EQ(std::move(array)[0].text().data(), bytes) << "moved, not copied";
}

TEST(SwJsonArray, AListInBracesHasItsElementsInOrder) {
  const SwJsonArray array{nullptr,
                          true,
                          -1,
                          2.5,
                          "text",
                          SwString("sw"),
                          std::string("std"),
                          SwJsonObject{{"a", 1}},
                          SwJsonValue(SwJsonArray{1, 2})};
  SwJsonArray expected;
  expected.append(nullptr);
  expected.append(true);
  expected.append(-1);
  expected.append(2.5);
  expected.append("text");
  expected.append("sw");
  expected.append("std");
  SwJsonObject object;
  object.insert("a", 1);
  expected.append(object);
  SwJsonArray inner;
  inner.append(1);
  inner.append(2);
  expected.append(inner);
  EXPECT_EQ(array, expected);

  SwJsonArray assigned;
  assigned = {1, 2};
  EXPECT_EQ(assigned, inner);
}

/// What was written before there were lists of elements keeps its meaning.
TEST(SwJsonArray, AnotherArrayInBracesIsCopiedOrMovedAndEmptyBracesAreTheEmptyArray) {
  SwJsonArray array;
  array.append("a text that needs memory");
  const char* bytes = array[0].text().data();
  const SwJsonArray copy{array};
  EXPECT_EQ(copy, array);
  const SwJsonArray assigned = {array};
  EXPECT_EQ(assigned, array);
  const SwJsonArray moved{std::move(array)};
  ASSERT_EQ(moved.size(), 1U);
  EXPECT_EQ(moved[0].text().data(), bytes);
  struct Derived : SwJsonArray {};
  Derived derived;
  derived.append(7);
  EXPECT_EQ((SwJsonArray{derived}), (SwJsonArray{7}));

  EXPECT_TRUE(SwJsonArray{}.empty());
  EXPECT_TRUE(SwJsonArray({}).empty());
  array = {};
  EXPECT_TRUE(array.empty());
}

TEST(SwJsonArray, NeitherACharacterNorAnArrayIsAnElementByItself) {
  static_assert(!std::is_constructible_v<SwJsonArray, std::initializer_list<char>>);
  static_assert(!std::is_convertible_v<int, SwJsonArray>);
  static_assert(!std::is_convertible_v<SwJsonValue, SwJsonArray>);
  const SwJsonArray inner{1};
  EXPECT_EQ((SwJsonArray{SwJsonValue(inner)})[0], SwJsonValue(inner)) << "one element, an array";
}

TEST(SwJsonArray, AListInBracesMovesItsElements) {
  std::string text = "a text that needs memory";
  const char* bytes = text.data();
  const SwJsonArray array{SwJsonObject{{"a", SwJsonValue(std::move(text))}}};
  EXPECT_EQ(array[0].object()->at("a").text().data(), bytes);
}

TEST(SwJsonArray, IterationChangesTheElementsOfThisArrayAlone) {
  SwJsonArray array{1, SwJsonValue(SwJsonArray{2}), SwJsonObject{{"a", 3}}};
  const SwJsonArray copy = array;
  for (SwJsonValue& element : array) {
    if (element.isInt()) element = 10;
    if (SwJsonArray* inner = element.array()) inner->at(0) = 20;
    if (SwJsonObject* members = element.object()) members->insert("a", 30);
  }
  EXPECT_EQ(array, (SwJsonArray{10, SwJsonValue(SwJsonArray{20}), SwJsonObject{{"a", 30}}}));
  EXPECT_EQ(copy, (SwJsonArray{1, SwJsonValue(SwJsonArray{2}), SwJsonObject{{"a", 3}}}));
  static_assert(std::is_same_v<decltype(*std::as_const(array).begin()), const SwJsonValue&>);
  const SwJsonArray::const_iterator first = array.begin();
  EXPECT_EQ(first->integer(), 10);
}

TEST(SwJsonArray, SetReplacesAnElementAndThrowsPastTheEnd) {
  SwJsonArray array{1, SwJsonValue(SwJsonArray{2})};
  array.set(0, "one");
  array.set(1, array[1].array()->at(0));
  EXPECT_EQ(array, (SwJsonArray{"one", 2}));
  EXPECT_THROW(array.set(2, 3), std::out_of_range);
  EXPECT_EQ(array.size(), 2U);
}

TEST(SwJsonArray, RemoveMovesTheOthersUpAndTellsWhetherThereWasOne) {
  SwJsonArray array{"a", "b", "c"};
  EXPECT_TRUE(array.remove(1));
  EXPECT_EQ(array, (SwJsonArray{"a", "c"}));
  EXPECT_FALSE(array.remove(2));
  EXPECT_FALSE(array.remove(static_cast<std::size_t>(-1)));
  EXPECT_TRUE(array.remove(1));
  EXPECT_TRUE(array.remove(0));
  EXPECT_FALSE(array.remove(0));
  EXPECT_TRUE(array.isEmpty());
}

TEST(SwJsonArray, ClearRemovesAllAndKeepsTheRoom) {
  SwJsonArray array{1, 2};
  array.reserve(3);
  const SwJsonValue* place = &array[0];
  array.clear();
  EXPECT_TRUE(array.empty());
  EXPECT_TRUE(array.isEmpty());
  array.append(3);
  EXPECT_EQ(&array[0], place);
  EXPECT_FALSE(array.isEmpty());
}
