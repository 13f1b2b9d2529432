#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/SwJsonObject.h"

TEST(SwJsonObject, AMissingKeyHasTheDefaultOneSharedNullAndNoMember) {
  const SwJsonObject first;
  const SwJsonObject second;
  EXPECT_TRUE(first.value("missing", SwJsonValue()).isNull());
  EXPECT_EQ(first.value("missing", 7).integer(), 7);
  EXPECT_TRUE(first["a"].isNull());
  EXPECT_EQ(&first["a"], &second["b"]);
  EXPECT_EQ(first.find("b"), nullptr);
}

TEST(SwJsonObject, InsertOverwritesFindGivesTheMemberItselfAndRemoveTellsWhetherThereWasOne) {
  SwJsonObject object;
  object.insert("a", 1);
  object.insert("a", "two");
  EXPECT_EQ(object.size(), 1U);
  EXPECT_EQ(object["a"].text(), "two");
  *object.find("a") = 3;
  EXPECT_EQ(object["a"].integer(), 3);
  EXPECT_TRUE(object.remove("a"));
  EXPECT_FALSE(object.remove("a"));
  EXPECT_TRUE(object.empty());
}

TEST(SwJsonObject, NullKeyIsTheEmptyKey) {
  SwJsonObject object;
  EXPECT_EQ(object.value(nullptr, 7).integer(), 7);
  EXPECT_TRUE(object[nullptr].isNull());
  EXPECT_FALSE(object.contains(nullptr));
  object.insert("", 1);
  EXPECT_EQ(object.value(nullptr, 7).integer(), 1);
  EXPECT_EQ(object[nullptr].integer(), 1);
  EXPECT_TRUE(object.contains(nullptr));
  object.insert(nullptr, 2);
  EXPECT_EQ(object.size(), 1U);
  EXPECT_EQ(object.find(nullptr)->integer(), 2);
  EXPECT_EQ(std::as_const(object).find(nullptr)->integer(), 2);
  EXPECT_TRUE(object.remove(nullptr));
  EXPECT_FALSE(object.remove(nullptr));
}

TEST(SwJsonObject, AMemberOfATemporaryIsAValue) {
  SwJsonObject object;
  object.insert("a", "a text that needs memory");
  static_assert(std::is_same_v<decltype(SwJsonObject()["a"]), SwJsonValue>);
  const SwJsonValue& copied = SwJsonObject(object)["a"];
  EXPECT_EQ(copied.text(), "a text that needs memory");
  EXPECT_TRUE(SwJsonObject(object)["missing"].isNull());
  const char* bytes = object["a"].text().data();
  EXPECT_EQ(std::move(object)["a"].text().data(), bytes) << "moved, not copied";
}

TEST(SwJsonObject, ValueIsACopy) {
  SwJsonObject inner;
  inner.insert("x", 1);
  SwJsonObject object;
  object.insert("inner", inner);
  SwJsonValue copy = object.value("inner", SwJsonValue());
  copy.object()->insert("x", 2);
  EXPECT_EQ((*object["inner"].object())["x"].integer(), 1);
}

TEST(SwJsonObject, KeysStandInByteOrder) {
  SwJsonObject object;
  for (const char* key : {"\xC3\xA9", "b", "a", "B", "ab"}) object.insert(key, nullptr);
  std::vector<std::string> keys;
  for (const auto& [key, value] : object) keys.push_back(key);
  EXPECT_EQ(keys, (std::vector<std::string>{"B", "a", "ab", "b", "\xC3\xA9"}));
}

TEST(SwJsonObject, KeysMayHoldNulBytes) {
  SwJsonObject object;
  const std::string key("a\0b", 3);
  object.insert(key, 1);
  EXPECT_TRUE(object.contains(key));
  EXPECT_FALSE(object.contains("a"));
  EXPECT_EQ(object.find(key)->integer(), 1);
}

TEST(SwJsonObject, AssignmentFromInsideTheObject) {
  SwJsonObject inner;
  inner.insert("x", 1);
  SwJsonObject object;
  object.insert("inner", std::move(inner));
  SwJsonObject other = object;
  object = *object.find("inner")->object();
  EXPECT_EQ(object["x"].integer(), 1);
  other = std::move(*other.find("inner")->object());
  EXPECT_EQ(other, object);
}

TEST(SwJsonObject, MembersStayWhereTheyAreUntilTheyAreRemoved) {
  SwJsonObject object;
  std::vector<std::pair<std::string, SwJsonValue*>> members;
  for (int i = 0; i < 300; ++i) {
    const std::string key = std::to_string(7 * i % 300);
    object.insert(key, key);
    members.emplace_back(key, object.find(key));
  }
  for (int i = 0; i < 100; ++i) {
    EXPECT_TRUE(object.remove(members.back().first));
    members.pop_back();
  }
  for (int i = 0; i < 200; ++i) object.insert("new " + std::to_string(i), i);
  const SwJsonObject moved = std::move(object);
  EXPECT_EQ(moved.size(), 400U);
  for (const auto& [key, member] : members) {
    EXPECT_EQ(moved.find(key), member);
    EXPECT_EQ(member->text(), key);
  }
}

TEST(SwJsonObject, WhatWasMovedFromCanBeFilledAgain) {
  SwJsonObject object;
  object.insert("a", 1);
  const SwJsonObject taken = std::move(object);
  EXPECT_TRUE(object.empty());  // NOLINT(bugprone-use-after-move): the state it promises
  object.insert("b", 2);
  EXPECT_EQ(object["b"].integer(), 2);
  EXPECT_EQ(taken["a"].integer(), 1);
  EXPECT_EQ(taken.size(), 1U);
}

TEST(SwJsonObject, AListInBracesIsInsertedInOrder) {
  const SwJsonObject object{
      {"b", 1},           {std::string("a\0", 2), "two"}, {SwString("c"), SwJsonArray{3}},
      {nullptr, nullptr}, {"d", SwJsonObject{{"x", 4}}},  {"b", 5}};
  SwJsonObject expected;
  expected.insert("b", 5);
  expected.insert(std::string("a\0", 2), "two");
  SwJsonArray array;
  array.append(3);
  expected.insert("c", array);
  expected.insert("", nullptr);
  SwJsonObject inner;
  inner.insert("x", 4);
  expected.insert("d", inner);
  EXPECT_EQ(object, expected);

  SwJsonObject assigned;
  assigned = {{"x", 4}};
  EXPECT_EQ(assigned, inner);
  EXPECT_EQ((SwJsonObject{{"x", "y"}})["x"].text(), "y") << "one member, not the two ends of a range";
}

/// What was written before there were lists of members keeps its meaning.
TEST(SwJsonObject, AnotherObjectInBracesIsCopiedOrMovedAndEmptyBracesAreTheEmptyObject) {
  SwJsonObject object;
  object.insert("a", "a text that needs memory");
  const SwJsonValue* member = object.find("a");
  const SwJsonObject copy{object};
  EXPECT_EQ(copy, object);
  const SwJsonObject moved{std::move(object)};
  EXPECT_EQ(moved.find("a"), member);
  EXPECT_TRUE(SwJsonObject{}.empty());
  EXPECT_TRUE(SwJsonObject({}).empty());
  object = {};
  EXPECT_TRUE(object.empty());
}

TEST(SwJsonObject, AKeyMayBeAnyKindOfText) {
  const SwJsonObject object{{"a", 1}, {std::string("a\0b", 3), 2}, {"", 3}};
  EXPECT_EQ(object[std::string("a\0b", 3)].integer(), 2);
  EXPECT_EQ(object[SwString("a")].integer(), 1);
  EXPECT_EQ(&object[std::string("missing")], &object["missing"]) << "the shared Null";
  EXPECT_EQ(object.value(std::string("a\0b", 3), 0).integer(), 2);
  EXPECT_EQ(object.value(SwString("missing"), 7).integer(), 7);
  EXPECT_EQ(object[nullptr].integer(), 3);
  EXPECT_EQ(object[{}].integer(), 3);
  EXPECT_EQ(object[0].integer(), 3);  // NOLINT(modernize-use-nullptr): the literal is what is meant
  static_assert(std::is_same_v<decltype(SwJsonObject()[std::string()]), SwJsonValue>);
  EXPECT_EQ(SwJsonObject(object)[std::string("a")].integer(), 1);
  EXPECT_TRUE(SwJsonObject(object)[std::string("missing")].isNull());
}

TEST(SwJsonObject, AtIsTheMembersValueAndThrowsWithoutOne) {
  SwJsonObject object{{"a", 1}, {std::string("a\0b", 3), 2}, {"", 3}};
  object.at("a") = 10;
  object.at(std::string("a\0b", 3)) = 20;
  EXPECT_EQ(std::as_const(object).at("a").integer(), 10);
  EXPECT_EQ(std::as_const(object).at(std::string("a\0b", 3)).integer(), 20);
  EXPECT_EQ(object.at(nullptr).integer(), 3);
  static_assert(std::is_same_v<decltype(SwJsonObject().at("a")), SwJsonValue>);
  static_assert(std::is_same_v<decltype(SwJsonObject().at(std::string())), SwJsonValue>);
  EXPECT_EQ(SwJsonObject(object).at("a").integer(), 10);
  EXPECT_EQ(SwJsonObject(object).at(std::string("a")).integer(), 10);
  const auto messageOf = [](auto&& read) -> std::string {
    try {
      read();
      return "nothing was thrown";
    } catch (const std::out_of_range& error) {
      return error.what();
    }
  };
  const std::string missing = "SwJsonObject::at: there is no member 'b'";
  EXPECT_EQ(messageOf([&] { object.at("b"); }), missing);
  EXPECT_EQ(messageOf([&] { std::as_const(object).at(std::string("b")); }), missing);
  EXPECT_EQ(messageOf([&] { SwJsonObject(object).at("b"); }), missing);
  EXPECT_EQ(object.size(), 3U) << "nothing is added";
}

TEST(SwJsonObject, IterationChangesTheValuesOfThisObjectAlone) {
  SwJsonObject object{{"a", 1}, {"b", SwJsonArray{2}}};
  const SwJsonObject copy = object;
  const SwJsonValue& null = object["missing"];
  for (auto& [key, value] : object) {
    static_assert(std::is_const_v<std::remove_reference_t<decltype(key)>>);
    if (SwJsonArray* elements = value.array()) {
      elements->set(0, 20);
    } else {
      value = key + "!";
    }
  }
  EXPECT_EQ(object, (SwJsonObject{{"a", "a!"}, {"b", SwJsonArray{20}}}));
  EXPECT_EQ(copy, (SwJsonObject{{"a", 1}, {"b", SwJsonArray{2}}}));
  EXPECT_TRUE(null.isNull());
  static_assert(std::is_same_v<decltype((std::as_const(object).begin()->second)), const SwJsonValue&>);
  const SwJsonObject::const_iterator first = object.begin();
  EXPECT_EQ(first->first, "a");
}

TEST(SwJsonObject, ClearRemovesAllAndKeepsTheRoom) {
  SwJsonObject object{{"a", 1}, {"b", 2}};
  EXPECT_FALSE(object.isEmpty());
  object.clear();
  EXPECT_TRUE(object.empty());
  EXPECT_TRUE(object.isEmpty());
  EXPECT_EQ(object.find("a"), nullptr);
  object.insert("b", 3);
  EXPECT_EQ(object, (SwJsonObject{{"b", 3}}));
  SwJsonObject().clear();
}
