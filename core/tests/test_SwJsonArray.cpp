#include <gtest/gtest.h>

#include <stdexcept>

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
