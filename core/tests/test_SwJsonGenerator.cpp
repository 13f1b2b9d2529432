#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "core/SwJsonDocument.h"

namespace {

SwJsonValue parsed(const SwString& text) {
  SwJsonDocument document;
  SwString error;
  EXPECT_TRUE(document.loadFromJson(text, error)) << error.str();
  return document.root();
}

std::string generated(const SwJsonValue& value, bool indented = false, int level = 0) {
  SwString out;
  SwJsonDocument().generateJson(value, out, indented, level, "");
  return out;
}

}  // namespace

TEST(SwJsonGenerator, ScalarsOfEveryKind) {
  EXPECT_EQ(generated(nullptr), "null");
  EXPECT_EQ(generated(true), "true");
  EXPECT_EQ(generated(false), "false");
  EXPECT_EQ(generated(INT64_MIN), "-9223372036854775808");
  EXPECT_EQ(generated("a\"\n\x01/\xC3\xA9"), "\"a\\\"\\n\\u0001/\xC3\xA9\"");
}

TEST(SwJsonGenerator, DoublesWithAFractionHaveSixDigits) {
  EXPECT_EQ(generated(0.1), "0.1");
  EXPECT_EQ(generated(0.45), "0.45");
  EXPECT_EQ(generated(1.0 / 3), "0.333333");
  EXPECT_EQ(generated(1e-7), "1e-07");
  EXPECT_EQ(generated(-1234567.5), "-1.23457e+06");
}

TEST(SwJsonGenerator, DoublesWithoutAFractionAreIntegers) {
  EXPECT_EQ(generated(3.0), "3");
  EXPECT_EQ(generated(-2.0), "-2");
  EXPECT_EQ(generated(-0.0), "0");
  EXPECT_EQ(generated(1e15), "1000000000000000");
  EXPECT_TRUE(parsed(generated(2.0)).isInt());
}

TEST(SwJsonGenerator, DoublesBeyond64BitsSaturate) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(generated(9223372036854774784.0), "9223372036854774784") << "the largest double that fits";
  EXPECT_EQ(generated(9223372036854775808.0), "9223372036854775807");
  EXPECT_EQ(generated(-9223372036854775808.0), "-9223372036854775808");
  EXPECT_EQ(generated(1e300), "9223372036854775807");
  EXPECT_EQ(generated(-1e300), "-9223372036854775808");
  EXPECT_EQ(generated(kInfinity), "9223372036854775807");
  EXPECT_EQ(generated(-kInfinity), "-9223372036854775808");
}

TEST(SwJsonGenerator, NanPrintsAsAStreamDoes) {
  EXPECT_EQ(generated(std::nan("")), "nan");
}

TEST(SwJsonGenerator, CompactTextHasABlankAfterTheColonOnly) {
  EXPECT_EQ(generated(parsed("{\"a\":1,\"b\":[true,null]}")), "{\"a\": 1,\"b\": [true,null]}");
}

TEST(SwJsonGenerator, MembersComeInByteOrder) {
  EXPECT_EQ(generated(parsed("{\"b\":1,\"a\":2,\"B\":3}")), "{\"B\": 3,\"a\": 2,\"b\": 1}");
}

TEST(SwJsonGenerator, KeysAreEscaped) {
  EXPECT_EQ(generated(parsed("{\"a\\\"\\u0000\":1}")), "{\"a\\\"\\u0000\": 1}");
}

TEST(SwJsonGenerator, EmptyContainersAreTheSameInBothModes) {
  for (const bool indented : {false, true}) {
    EXPECT_EQ(generated(SwJsonObject(), indented), "{}");
    EXPECT_EQ(generated(SwJsonArray(), indented), "[]");
    EXPECT_EQ(generated(SwJsonValue::ofKind(SwJsonValue::Kind::Object), indented), "{}");
    EXPECT_EQ(generated(SwJsonValue::ofKind(SwJsonValue::Kind::Array), indented), "[]");
  }
}

TEST(SwJsonGenerator, AnEmptyArrayUnderKeyAIndentedTakesOneLine) {
  EXPECT_EQ(generated(parsed("{\"a\":[]}"), true), "{\n  \"a\": []\n}");
}

TEST(SwJsonGenerator, IndentedTextHasOneMemberALine) {
  EXPECT_EQ(generated(parsed("{\"a\":[1,{\"b\":2}],\"c\":3}"), true),
            "{\n"
            "  \"a\": [\n"
            "    1,\n"
            "    {\n"
            "      \"b\": 2\n"
            "    }\n"
            "  ],\n"
            "  \"c\": 3\n"
            "}");
}

TEST(SwJsonGenerator, IndentationStartsAtTheLevel) {
  EXPECT_EQ(generated(parsed("[1]"), true, 2), "[\n      1\n    ]");
  EXPECT_EQ(generated(parsed("[1]"), true, -5), "[\n  1\n]");
  EXPECT_EQ(generated(parsed("[1]"), false, 2), "[1]");
}

TEST(SwJsonGenerator, AppendsToTheText) {
  SwString out("x");
  SwJsonDocument().generateJson(1, out, false, 0, "");
  EXPECT_EQ(out, "x1");
}

TEST(SwJsonGenerator, GeneratedTextParsesBackToTheSameValue) {
  const SwJsonValue value = parsed("{\"a\":[1,-2,0.5,\"x\\ny\",true,null,{}],\"b\":{\"c\":[[]]}}");
  EXPECT_EQ(parsed(generated(value)), value);
  EXPECT_EQ(parsed(generated(value, true)), value);
}
