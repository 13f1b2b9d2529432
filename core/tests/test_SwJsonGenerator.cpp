#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

#include "tests/json_text.h"

using json_text::generated;
using json_text::parsed;

TEST(SwJsonGenerator, ScalarsOfEveryKind) {
  EXPECT_EQ(generated(nullptr), "null");
  EXPECT_EQ(generated(true), "true");
  EXPECT_EQ(generated(false), "false");
  EXPECT_EQ(generated(INT64_MIN), "-9223372036854775808");
  EXPECT_EQ(generated("a\"\n\x01/\xC3\xA9"), "\"a\\\"\\n\\u0001/\xC3\xA9\"");
}

TEST(SwJsonGenerator, DoublesWithAFractionHaveSixDigitsAndOthersAreIntegersThatSaturateAt64Bits) {
  const std::pair<double, const char*> cases[] = {
      {0.1, "0.1"}, {0.45, "0.45"}, {1.0 / 3, "0.333333"}, {1e-7, "1e-07"},      {-1234567.5, "-1.23457e+06"},
      {3.0, "3"},   {-2.0, "-2"},   {-0.0, "0"},           {std::nan(""), "nan"}};
  for (const auto& [number, text] : cases) EXPECT_EQ(generated(number), text);
  EXPECT_EQ(generated(1e15), "1000000000000000");
  EXPECT_EQ(generated(9223372036854774784.0), "9223372036854774784") << "the largest double that fits";
  for (const double large : {9223372036854775808.0, 1e300, std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(generated(large), "9223372036854775807");
    EXPECT_EQ(generated(-large), "-9223372036854775808");
  }
  EXPECT_TRUE(parsed(generated(2.0)).isInt());
}

TEST(SwJsonGenerator, CompactTextHasABlankAfterTheColonOnlyEscapedKeysAndMembersInByteOrder) {
  EXPECT_EQ(generated(parsed("{\"a\":1,\"b\":[true,null]}")), "{\"a\": 1,\"b\": [true,null]}");
  EXPECT_EQ(generated(parsed("{\"b\":1,\"a\":2,\"B\":3}")), "{\"B\": 3,\"a\": 2,\"b\": 1}");
  EXPECT_EQ(generated(parsed("{\"a\\\"\\u0000\":1}")), "{\"a\\\"\\u0000\": 1}");
}

TEST(SwJsonGenerator, EmptyContainersTakeNoLinesInEitherMode) {
  for (const bool indented : {false, true}) {
    EXPECT_EQ(generated(SwJsonObject(), "", indented), "{}");
    EXPECT_EQ(generated(SwJsonArray(), "", indented), "[]");
    EXPECT_EQ(generated(SwJsonValue::ofKind(SwJsonValue::Kind::Object), "", indented), "{}");
    EXPECT_EQ(generated(SwJsonValue::ofKind(SwJsonValue::Kind::Array), "", indented), "[]");
  }
  EXPECT_EQ(generated(parsed("{\"a\":[]}"), "", true), "{\n  \"a\": []\n}");
}

TEST(SwJsonGenerator, IndentedTextHasOneMemberALine) {
  EXPECT_EQ(generated(parsed("{\"a\":[1,{\"b\":2}],\"c\":3}"), "", true),
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
  EXPECT_EQ(generated(parsed("[1]"), "", true, 2), "[\n      1\n    ]");
  EXPECT_EQ(generated(parsed("[1]"), "", true, -5), "[\n  1\n]");
  EXPECT_EQ(generated(parsed("[1]"), "", false, 2), "[1]");
}

TEST(SwJsonGenerator, AppendsToTheText) {
  SwString out("x");
  SwJsonDocument().generateJson(1, out, false, 0, "");
  EXPECT_EQ(out, "x1");
}

TEST(SwJsonGenerator, GeneratedTextParsesBackToTheSameValue) {
  const SwJsonValue value = parsed("{\"a\":[1,-2,0.5,\"x\\ny\",true,null,{}],\"b\":{\"c\":[[]]}}");
  EXPECT_EQ(parsed(generated(value)), value);
  EXPECT_EQ(parsed(generated(value, "", true)), value);
}
