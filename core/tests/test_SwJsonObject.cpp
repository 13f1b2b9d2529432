#include <gtest/gtest.h>

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
