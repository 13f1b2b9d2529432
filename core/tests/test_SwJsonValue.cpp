#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <type_traits>
#include <utility>

#include "core/SwJsonValue.h"

namespace {

using Kind = SwJsonValue::Kind;

const std::string kNul(1, '\0');

void expectClearExcept(const SwJsonValue& value, Kind kind) {
  EXPECT_EQ(value.kind(), kind);
  EXPECT_EQ(value.isNull(), kind == Kind::Null);
  EXPECT_EQ(value.isBool(), kind == Kind::Bool);
  EXPECT_EQ(value.isInt(), kind == Kind::Int);
  EXPECT_EQ(value.isDouble(), kind == Kind::Double);
  EXPECT_EQ(value.isString(), kind == Kind::String);
  EXPECT_EQ(value.isObject(), kind == Kind::Object);
  EXPECT_EQ(value.isArray(), kind == Kind::Array);
  if (kind != Kind::Bool) {
    EXPECT_FALSE(value.boolean());
  }
  if (kind != Kind::Int) {
    EXPECT_EQ(value.integer(), 0);
  }
  if (kind != Kind::Double) {
    EXPECT_EQ(value.number(), 0.0);
  }
  if (kind != Kind::String) {
    EXPECT_EQ(value.text(), "");
  }
  EXPECT_EQ(value.object() != nullptr, kind == Kind::Object);
  EXPECT_EQ(value.array() != nullptr, kind == Kind::Array);
}

SwJsonObject objectWith(const char* key, SwJsonValue value) {
  SwJsonObject object;
  object.insert(key, std::move(value));
  return object;
}

SwJsonArray arrayWith(SwJsonValue value) {
  SwJsonArray array;
  array.append(std::move(value));
  return array;
}

}  // namespace

TEST(SwJsonValue, KindsHaveTheirFixedNumbers) {
  EXPECT_EQ(static_cast<int>(Kind::Null), 0);
  EXPECT_EQ(static_cast<int>(Kind::Bool), 1);
  EXPECT_EQ(static_cast<int>(Kind::Int), 2);
  EXPECT_EQ(static_cast<int>(Kind::Double), 3);
  EXPECT_EQ(static_cast<int>(Kind::String), 4);
  EXPECT_EQ(static_cast<int>(Kind::Object), 5);
  EXPECT_EQ(static_cast<int>(Kind::Array), 6);
  EXPECT_EQ(sizeof(Kind), 4U);
}

TEST(SwJsonValue, ConstructorsClearTheFieldsTheyDoNotSet) {
  expectClearExcept(SwJsonValue(), Kind::Null);
  expectClearExcept(SwJsonValue(nullptr), Kind::Null);
  expectClearExcept(SwJsonValue(true), Kind::Bool);
  expectClearExcept(SwJsonValue(7), Kind::Int);
  expectClearExcept(SwJsonValue(7.5), Kind::Double);
  expectClearExcept(SwJsonValue("x"), Kind::String);
  expectClearExcept(SwJsonValue(SwJsonObject()), Kind::Object);
  expectClearExcept(SwJsonValue(SwJsonArray()), Kind::Array);
}

TEST(SwJsonValue, ConstructorsChooseTheKindOfTheirArgument) {
  EXPECT_TRUE(SwJsonValue(true).boolean());
  EXPECT_EQ(SwJsonValue(-5).integer(), -5);
  EXPECT_EQ(SwJsonValue(5U).integer(), 5);
  EXPECT_EQ(SwJsonValue(4294967295U).integer(), 4294967295);
  EXPECT_EQ(SwJsonValue(1LL << 40).integer(), 1099511627776);
  EXPECT_EQ(SwJsonValue(std::size_t{3}).integer(), 3);
  EXPECT_EQ(SwJsonValue(std::numeric_limits<int64_t>::min()).integer(), INT64_MIN);
  EXPECT_EQ(SwJsonValue(0.5F).number(), 0.5);
  EXPECT_EQ(SwJsonValue(std::string("a" + kNul)).text(), "a" + kNul);
  EXPECT_EQ(SwJsonValue(SwString("s")).text(), "s");
  EXPECT_EQ(SwJsonValue(static_cast<const char*>(nullptr)), SwJsonValue(""));
  char mutableText[] = "m";
  EXPECT_EQ(SwJsonValue(mutableText).text(), "m");
}

TEST(SwJsonValue, TakeTextMovesTheBytesOut) {
  SwJsonValue value(std::string(100, 'x'));
  const char* bytes = value.text().data();
  const std::string taken = value.takeText();
  EXPECT_EQ(taken, std::string(100, 'x'));
  EXPECT_EQ(taken.data(), bytes) << "no copy";
  EXPECT_EQ(value, SwJsonValue(""));
  SwJsonValue number(7);
  EXPECT_EQ(number.takeText(), "");
  EXPECT_EQ(number, SwJsonValue(7));
}

TEST(SwJsonValue, UnsignedBeyondSigned64BitsBecomesTheNearestDouble) {
  EXPECT_EQ(SwJsonValue(9223372036854775807UL).integer(), INT64_MAX);
  const SwJsonValue large(9223372036854775808ULL);
  EXPECT_TRUE(large.isDouble());
  EXPECT_EQ(large.number(), 9223372036854775808.0);
}

TEST(SwJsonValue, OtherPointersFunctionsAndCharactersAreNoValues) {
  EXPECT_FALSE((std::is_constructible_v<SwJsonValue, void (*)()>));
  EXPECT_FALSE((std::is_constructible_v<SwJsonValue, int std::string::*>));
  EXPECT_FALSE((std::is_constructible_v<SwJsonValue, int*>));
  EXPECT_FALSE((std::is_constructible_v<SwJsonValue, const void*>));
  EXPECT_FALSE((std::is_constructible_v<SwJsonValue, const unsigned char*>));
  EXPECT_FALSE((std::is_constructible_v<SwJsonValue, char>));
}

TEST(SwJsonValue, OfKindHasNoContainer) {
  EXPECT_EQ(SwJsonValue::ofKind(Kind::Object).object(), nullptr);
  EXPECT_EQ(SwJsonValue::ofKind(Kind::Array).array(), nullptr);
  EXPECT_TRUE(SwJsonValue::ofKind(Kind::Object).isObject());
  const SwJsonValue copy = SwJsonValue::ofKind(Kind::Array);
  const SwJsonValue copyOfCopy(copy);
  EXPECT_TRUE(copyOfCopy.isArray());
  EXPECT_EQ(copyOfCopy.array(), nullptr);
}

TEST(SwJsonValue, CopiesAreDeepWhetherConstructedOrAssigned) {
  const SwJsonValue source(objectWith("a", arrayWith(arrayWith("deep"))));
  const auto innermost = [](auto& value) -> auto& {
    return value.object()->find("a")->array()->at(0).array()->at(0);
  };
  SwJsonValue constructed(source);
  SwJsonValue assigned;
  assigned = source;
  for (SwJsonValue* copy : {&constructed, &assigned}) {
    innermost(*copy) = "changed";
    EXPECT_EQ(innermost(*copy).text(), "changed");
    EXPECT_EQ(innermost(source).text(), "deep");
  }
}

TEST(SwJsonValue, CopyKeepsEveryKind) {
  SwJsonArray array;
  array.append(nullptr);
  array.append(true);
  array.append(-3);
  array.append(0.25);
  array.append("t");
  array.append(SwJsonObject());
  const SwJsonValue source(array);
  const SwJsonValue copy(source);
  ASSERT_EQ(copy.array()->size(), 6U);
  EXPECT_TRUE(copy.array()->at(0).isNull());
  EXPECT_TRUE(copy.array()->at(1).boolean());
  EXPECT_EQ(copy.array()->at(2).integer(), -3);
  EXPECT_EQ(copy.array()->at(3).number(), 0.25);
  EXPECT_EQ(copy.array()->at(4).text(), "t");
  EXPECT_NE(copy.array()->at(5).object(), source.array()->at(5).object());
}

TEST(SwJsonValue, MoveTransfersTheContainerAndLeavesNull) {
  SwJsonValue source(arrayWith(1));
  const SwJsonArray* container = source.array();
  SwJsonValue target(std::move(source));
  EXPECT_EQ(target.array(), container);
  expectClearExcept(source, Kind::Null);  // NOLINT(bugprone-use-after-move): the state it promises
  SwJsonValue text("some text that is too long for the string's own buffer");
  target = std::move(text);
  expectClearExcept(text, Kind::Null);  // NOLINT(bugprone-use-after-move): the state it promises
  EXPECT_EQ(target.text(), "some text that is too long for the string's own buffer");
}

TEST(SwJsonValue, AssignmentFromItselfKeepsTheValue) {
  SwJsonValue value(arrayWith(1));
  SwJsonValue& same = value;
  value = same;
  EXPECT_EQ(value.array()->at(0).integer(), 1);
  value = std::move(same);
  EXPECT_EQ(value.array()->at(0).integer(), 1);
}

TEST(SwJsonValue, AssignmentFromInsideTheValue) {
  SwJsonValue copied(objectWith("a", arrayWith(7)));
  copied = *copied.object()->find("a");
  EXPECT_EQ(copied.array()->at(0).integer(), 7);

  SwJsonValue moved(objectWith("a", arrayWith(8)));
  moved = std::move(*moved.object()->find("a"));
  EXPECT_EQ(moved.array()->at(0).integer(), 8);
}

TEST(SwJsonValue, EqualityComparesKindsFirstAndThenTheFieldOfTheKind) {
  const std::pair<SwJsonValue, SwJsonValue> different[] = {{1, 1.0},
                                                           {SwJsonValue(), false},
                                                           {SwJsonObject(), SwJsonArray()},
                                                           {"1", 1},
                                                           {true, false},
                                                           {1, 2},
                                                           {0.5, 1.5},
                                                           {"a", "b"}};
  for (const auto& [a, b] : different) EXPECT_NE(a, b);
  EXPECT_EQ(SwJsonValue(), SwJsonValue());
  EXPECT_EQ(SwJsonValue(0.0), SwJsonValue(-0.0));
}

TEST(SwJsonValue, NanEqualsNothing) {
  const SwJsonValue nan(std::nan(""));
  EXPECT_NE(nan, nan);
  EXPECT_NE(SwJsonValue(arrayWith(nan)), SwJsonValue(arrayWith(nan)));
}

TEST(SwJsonValue, EqualityComparesContainersMemberByMember) {
  EXPECT_EQ(SwJsonValue(objectWith("a", arrayWith(1))), SwJsonValue(objectWith("a", arrayWith(1))));
  EXPECT_NE(SwJsonValue(objectWith("a", arrayWith(1))), SwJsonValue(objectWith("a", arrayWith(2))));
  EXPECT_NE(SwJsonValue(objectWith("a", 1)), SwJsonValue(objectWith("b", 1)));
  SwJsonArray two = arrayWith(1);
  two.append(2);
  EXPECT_NE(SwJsonValue(two), SwJsonValue(arrayWith(1)));
  EXPECT_NE(SwJsonValue(arrayWith(1)), SwJsonValue(two));
  SwJsonObject aAndB = objectWith("a", 1);
  aAndB.insert("b", 2);
  EXPECT_NE(SwJsonValue(aAndB), SwJsonValue(objectWith("a", 1)));
  EXPECT_NE(SwJsonValue(objectWith("a", 1)), SwJsonValue(aAndB));
  EXPECT_EQ(SwJsonValue::ofKind(Kind::Object), SwJsonValue(SwJsonObject()));
}

TEST(SwJsonValue, ToStringOfEveryKind) {
  const std::pair<SwJsonValue, std::string> cases[] = {{SwJsonValue(), "null"},
                                                       {true, "true"},
                                                       {false, "false"},
                                                       {-42, "-42"},
                                                       {1.0, "1.000000"},
                                                       {0.45, "0.450000"},
                                                       {-1e21, "-1000000000000000000000.000000"},
                                                       {std::numeric_limits<double>::infinity(), "inf"},
                                                       {"a\"\n" + kNul, "a\"\n" + kNul},
                                                       {objectWith("a", 1), "{}"},
                                                       {arrayWith(1), "{}"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(value.toString(), text);
}

TEST(SwJsonValue, EscapeStringOfEveryByte) {
  const std::string named = "\"\\\b\f\n\r\t";
  for (int code = 0; code < 256; ++code) {
    const char byte = static_cast<char>(code);
    const std::string text(1, byte);
    const std::string escaped = SwJsonValue::escapeString(text);
    if (named.find(byte) != std::string::npos) {
      EXPECT_EQ(escaped.size(), 2U) << code;
    } else if (code < 0x20) {
      EXPECT_EQ(std::stoi(escaped.substr(2), nullptr, 16), code);
      EXPECT_EQ(escaped.substr(0, 4), "\\u00");
    } else {
      EXPECT_EQ(escaped, text) << code;
    }
  }
}

TEST(SwJsonValue, TextIsMovedOutOfTemporariesAndOfSwStrings) {
  SwString string("a text that needs memory");
  const char* bytes = string.data();
  SwJsonValue value(std::move(string));
  EXPECT_TRUE(value.isString());
  EXPECT_EQ(value.text().data(), bytes) << "moved, not copied";
  static_assert(std::is_same_v<decltype(SwJsonValue().text()), std::string>);
  const std::string& text = SwJsonValue(value).text();
  EXPECT_EQ(text, "a text that needs memory");
  EXPECT_EQ(std::move(value).text().data(), bytes) << "moved, not copied";
}

/// Lists of elements and members belong to the containers: braces around one thing are that thing, as before
/// the containers had lists.
TEST(SwJsonValue, BracesAreNoContainer) {
  EXPECT_EQ(SwJsonValue{1}.kind(), SwJsonValue::Kind::Int);
  EXPECT_EQ(SwJsonValue{"text"}.kind(), SwJsonValue::Kind::String);
  EXPECT_EQ(SwJsonValue{}.kind(), SwJsonValue::Kind::Null);
  const SwJsonValue value(SwJsonArray{1});
  EXPECT_EQ(SwJsonValue{value}, value) << "a copy, no array around it";
  EXPECT_EQ((SwJsonValue{SwJsonArray{1, 2}}), SwJsonValue(SwJsonArray{1, 2}));
  EXPECT_EQ((SwJsonValue{{'a', 'b'}}).text(), "ab") << "a std::string of two characters";
  SwJsonObject object;
  object.insert("k", {});
  EXPECT_TRUE(object["k"].isNull());
  SwJsonArray array;
  array.append({});
  EXPECT_TRUE(array[0].isNull());
}
