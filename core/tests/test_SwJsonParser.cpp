#include <gtest/gtest.h>

#include <string>

#include "core/SwJsonDocument.h"

namespace {

SwJsonValue parsed(const SwString& text) {
  SwString error;
  unsigned long index = 0;
  SwJsonValue value = SwJsonDocument().parseJson(text, index, "", error);
  EXPECT_EQ(error, "") << text.str();
  EXPECT_EQ(index, text.size()) << text.str();
  return value;
}

std::string errorOf(const SwString& text) {
  SwString error;
  unsigned long index = 0;
  EXPECT_TRUE(SwJsonDocument().parseJson(text, index, "", error).isNull()) << text.str();
  return error;
}

/// For texts so short that the message quotes all of them.
void expectError(const std::string& text, const std::string& message, int index) {
  EXPECT_EQ(errorOf(text), message + " (index " + std::to_string(index) + ") near \"" + text + "\"");
}

}  // namespace

TEST(SwJsonParser, NoValueBeforeTheEnd) {
  expectError("", "Unexpected end of JSON input", 0);
  expectError(" \t\n\v\f\r", "Unexpected end of JSON input", 6);
  expectError("[ ", "Unexpected end of JSON input", 2);
  expectError("[1,", "Unexpected end of JSON input", 3);
  expectError("{\"a\":", "Unexpected end of JSON input", 5);
}

TEST(SwJsonParser, InvalidToken) {
  expectError("?", "Invalid JSON token", 0);
  expectError(" +1", "Invalid JSON token", 1);
  expectError("[,1]", "Invalid JSON token", 1);
  expectError("\xC3\xA9", "Invalid JSON token", 0);
  expectError(std::string(1, '\0'), "Invalid JSON token", 0);
}

TEST(SwJsonParser, UnterminatedObject) {
  expectError("{", "Unterminated JSON object", 1);
  expectError("{ ", "Unterminated JSON object", 2);
  expectError("{\"a\":1", "Unterminated JSON object", 6);
  expectError("{\"a\":1,", "Unterminated JSON object", 7);
}

TEST(SwJsonParser, ObjectKeyMustBeAString) {
  expectError("{a:1}", "Expected string key in object", 1);
}

TEST(SwJsonParser, ColonAfterTheKey) {
  expectError("{\"a\" 1}", "Expected ':' after object key", 5);
  expectError("{\"a\"", "Expected ':' after object key", 4);
  expectError("{\"a\" ", "Expected ':' after object key", 5);
}

TEST(SwJsonParser, SeparatorInAnObject) {
  expectError("{\"a\":1 2}", "Expected ',' or '}' in object", 7);
}

TEST(SwJsonParser, UnterminatedArray) {
  expectError("[", "Unterminated JSON array", 1);
  expectError("[1", "Unterminated JSON array", 2);
  expectError("[1 ", "Unterminated JSON array", 3);
}

TEST(SwJsonParser, SeparatorInAnArray) {
  expectError("[1 2]", "Expected ',' or ']' in array", 3);
}

TEST(SwJsonParser, BooleanWords) {
  EXPECT_EQ(parsed("true"), SwJsonValue(true));
  EXPECT_EQ(parsed("false"), SwJsonValue(false));
  expectError("truex", "Invalid boolean literal", 5);
  expectError("[fals]", "Invalid boolean literal", 5);
  expectError("tRUE", "Invalid boolean literal", 4);
}

TEST(SwJsonParser, AWordEndsAtTheFirstOtherByte) {
  SwString error;
  unsigned long index = 0;
  EXPECT_EQ(SwJsonDocument().parseJson("true1", index, "", error), SwJsonValue(true));
  EXPECT_EQ(index, 4U);
  EXPECT_EQ(error, "");
}

TEST(SwJsonParser, NullWord) {
  EXPECT_TRUE(parsed("null").isNull());
  expectError("nul", "Invalid literal, expected 'null'", 3);
  expectError("nulls", "Invalid literal, expected 'null'", 5);
}

TEST(SwJsonParser, DigitAfterAMinus) {
  expectError("-", "Expected digit in number literal", 1);
  expectError("[-x]", "Expected digit in number literal", 2);
}

TEST(SwJsonParser, LeadingZeros) {
  expectError("01", "Leading zeros are not allowed in JSON numbers", 1);
  expectError("-00", "Leading zeros are not allowed in JSON numbers", 2);
  EXPECT_EQ(parsed("0"), SwJsonValue(0));
  EXPECT_EQ(parsed("-0"), SwJsonValue(0)) << "an Int, not a negative Double";
  EXPECT_EQ(parsed("0.5"), SwJsonValue(0.5));
}

TEST(SwJsonParser, DigitAfterAPoint) {
  expectError("1.", "Expected digit after decimal point", 2);
  expectError("[1.e5]", "Expected digit after decimal point", 3);
}

TEST(SwJsonParser, DigitInAnExponent) {
  expectError("1e", "Expected digit in exponent", 2);
  expectError("1e+", "Expected digit in exponent", 3);
  expectError("[1E-]", "Expected digit in exponent", 4);
  expectError("1e+-1", "Expected digit in exponent", 3);
  EXPECT_EQ(parsed("1E3"), SwJsonValue(1000.0));
  EXPECT_EQ(parsed("25e-2"), SwJsonValue(0.25));
  EXPECT_EQ(parsed("-1.5e+1"), SwJsonValue(-15.0));
}

TEST(SwJsonParser, IntegersOutside64BitsAreErrors) {
  expectError("9223372036854775808", "Invalid integer number", 0);
  expectError("[-9223372036854775809", "Invalid integer number", 1);
  EXPECT_EQ(parsed("9223372036854775807"), SwJsonValue(INT64_MAX));
  EXPECT_EQ(parsed("-9223372036854775808"), SwJsonValue(INT64_MIN));
}

TEST(SwJsonParser, FloatingPointOutOfRangeIsAnErrorSubnormalsIncluded) {
  expectError("[1e400]", "Invalid floating-point number", 1);
  expectError("1e-400", "Invalid floating-point number", 0);
  expectError("4.9e-324", "Invalid floating-point number", 0);
  EXPECT_EQ(parsed("2.2250738585072014e-308"), SwJsonValue(2.2250738585072014e-308));
}

TEST(SwJsonParser, BackslashAtTheEnd) {
  expectError("\"a\\", "Invalid escape sequence in string", 3);
}

TEST(SwJsonParser, UnknownEscapes) {
  expectError("\"\\x\"", "Invalid escape character in string", 2);
  expectError("{\"a\\U\":1}", "Invalid escape character in string", 4);
  expectError(std::string("\"\\\0\"", 4), "Invalid escape character in string", 2);
}

TEST(SwJsonParser, IncompleteUnicodeEscapes) {
  expectError("\"\\u12\"", "Incomplete Unicode escape sequence", 3);
  expectError("\"\\u", "Incomplete Unicode escape sequence", 3);
  expectError("\"\\uD83D\\uDE\"", "Incomplete Unicode escape sequence", 9);
}

TEST(SwJsonParser, HexDigitsOfUnicodeEscapes) {
  expectError("\"\\u12G4\"", "Invalid hex digit in Unicode escape", 5);
  expectError("\"\\uD83D\\uDEg0\"", "Invalid hex digit in Unicode escape", 11);
  // The bytes beside each range of digits.
  for (const char byte : {'/', ':', '@', 'G', '`', 'g', ' ', '"', '\xC3'}) {
    expectError(std::string("\"\\u12") + byte + "4\"", "Invalid hex digit in Unicode escape", 5);
  }
  EXPECT_EQ(parsed("\"\\u00e9\\u00E9\"").text(), "\xC3\xA9\xC3\xA9");
}

TEST(SwJsonParser, LoneLowSurrogate) {
  expectError("\"\\uDE00\"", "Unexpected low surrogate without leading high surrogate", 7);
  expectError("\"\\uDFFF\"", "Unexpected low surrogate without leading high surrogate", 7);
}

TEST(SwJsonParser, HighSurrogateWithoutASecondEscape) {
  expectError("\"\\uD83D \"", "Missing low surrogate after high surrogate", 7);
  expectError("\"\\uD83D\"", "Missing low surrogate after high surrogate", 7);
  expectError("\"\\uD83D", "Missing low surrogate after high surrogate", 7);
  expectError("\"\\uDBFF\\n\"", "Missing low surrogate after high surrogate", 7);
}

TEST(SwJsonParser, HighSurrogateWithAnotherEscape) {
  expectError("\"\\uD83D\\u0041\"", "Invalid low surrogate in Unicode escape", 13);
  expectError("\"\\uD83D\\uD83D\"", "Invalid low surrogate in Unicode escape", 13);
  expectError("\"\\uD83D\\uE000\"", "Invalid low surrogate in Unicode escape", 13);
}

TEST(SwJsonParser, RawControlBytesAreErrorsAndEscapedOnesAreNot) {
  expectError("\"a\tb\"", "Unescaped control character in string", 2);
  expectError("\"\x1F\"", "Unescaped control character in string", 1);
  expectError(std::string("\"\0\"", 3), "Unescaped control character in string", 1);
  EXPECT_EQ(parsed("\"a\\tb\"").text(), "a\tb");
}

TEST(SwJsonParser, UnterminatedString) {
  expectError("\"abc", "Unterminated string literal", 4);
  expectError("\"", "Unterminated string literal", 1);
  expectError("\"abc\\\"", "Unterminated string literal", 6);
}

TEST(SwJsonParser, SimpleEscapes) {
  EXPECT_EQ(parsed("\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"").text(), "\"\\/\b\f\n\r\t");
}

TEST(SwJsonParser, UnicodeEscapesTakeEveryHexadecimalDigitOfEitherCase) {
  EXPECT_EQ(parsed("\"\\u0123\"").text(), "\xC4\xA3");
  EXPECT_EQ(parsed("\"\\u4567\"").text(), "\xE4\x95\xA7");
  EXPECT_EQ(parsed("\"\\u89AB\\u89ab\"").text(), "\xE8\xA6\xAB\xE8\xA6\xAB");
  EXPECT_EQ(parsed("\"\\uCDEF\\ucdef\"").text(), "\xEC\xB7\xAF\xEC\xB7\xAF");
}

TEST(SwJsonParser, UnicodeEscapesBecomeUtf8OfEveryLength) {
  EXPECT_EQ(parsed("\"\\u007F\"").text(), "\x7F");
  EXPECT_EQ(parsed("\"\\u0080\\u07FF\"").text(), "\xC2\x80\xDF\xBF");
  EXPECT_EQ(parsed("\"\\u0800\\uFFFF\"").text(), "\xE0\xA0\x80\xEF\xBF\xBF");
  EXPECT_EQ(parsed("\"\\uD83D\\uDE00\"").text(), "\xF0\x9F\x98\x80");
  EXPECT_EQ(parsed("\"\\uD800\\uDC00\\uDBFF\\uDFFF\"").text(), "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
  EXPECT_EQ(parsed("\"\\uD7FF\\uE000\"").text(), "\xED\x9F\xBF\xEE\x80\x80");
}

TEST(SwJsonParser, EscapedNulIsARealByte) {
  EXPECT_EQ(parsed("\"a\\u0000b\"").text(), std::string("a\0b", 3));
  EXPECT_TRUE(parsed("{\"\\u0000\":1}").object()->contains(std::string(1, '\0')));
}

TEST(SwJsonParser, BytesFrom0x80OnPassThrough) {
  EXPECT_EQ(parsed("\"\x80\xC3\xA9\xFF\x7F\"").text(), "\x80\xC3\xA9\xFF\x7F");
}

TEST(SwJsonParser, TrailingCommas) {
  EXPECT_EQ(parsed("[1,2,]").array()->size(), 2U);
  EXPECT_EQ(parsed("{\"a\":1,}").object()->size(), 1U);
  EXPECT_EQ(parsed("[ 1 , ]").array()->size(), 1U);
  expectError("[1,,]", "Invalid JSON token", 3);
  expectError("{,}", "Expected string key in object", 1);
}

TEST(SwJsonParser, OfDuplicateKeysTheLastCounts) {
  const SwJsonValue value = parsed("{\"a\":1,\"b\":0,\"a\":2}");
  EXPECT_EQ(value.object()->size(), 2U);
  EXPECT_EQ((*value.object())["a"].integer(), 2);
  EXPECT_EQ(value.object()->begin()->first, "a");
}

TEST(SwJsonParser, NestedContainersKeepTheirOwnMembers) {
  const SwJsonValue value = parsed("{\"a\":[1,{\"b\":[],\"c\":{}},2],\"d\":\"e\"}");
  const SwJsonObject& root = *value.object();
  EXPECT_EQ(root.size(), 2U);
  const SwJsonArray& a = *root["a"].array();
  ASSERT_EQ(a.size(), 3U);
  EXPECT_EQ(a[0].integer(), 1);
  EXPECT_EQ(a[2].integer(), 2);
  EXPECT_TRUE((*a[1].object())["b"].array()->empty());
  EXPECT_TRUE((*a[1].object())["c"].object()->empty());
  EXPECT_EQ(root["d"].text(), "e");
}

TEST(SwJsonParser, WhiteSpaceOfTheCLocaleIsSkippedEverywhere) {
  const std::string space = " \t\n\v\f\r";
  const std::string text = space + "{" + space + "\"a\"" + space + ":" + space + "[" + space + "1" + space +
                           "," + space + "2" + space + "]" + space + "}";
  EXPECT_EQ(parsed(text).object()->find("a")->array()->size(), 2U);
  expectError("[1\xC2\xA0]", "Expected ',' or ']' in array", 2);
}

TEST(SwJsonParser, ExcerptReachesTwentyBytesEachWay) {
  const std::string early = "[1,2 3" + std::string(94, 'x');
  EXPECT_EQ(errorOf(early), "Expected ',' or ']' in array (index 5) near \"" + early.substr(0, 25) + "\"");

  std::string middle = "[" + std::string(49, ' ') + "?";
  while (middle.size() < 100) middle += static_cast<char>('A' + static_cast<int>(middle.size() % 26));
  EXPECT_EQ(errorOf(middle), "Invalid JSON token (index 50) near \"" + middle.substr(30, 40) + "\"");

  const std::string late = "[" + std::string(98, ' ') + "?";
  EXPECT_EQ(errorOf(late), "Invalid JSON token (index 99) near \"" + late.substr(79, 21) + "\"");
}

/// Sizes at which time that grows with the square of the length would be hours.
TEST(SwJsonParser, LongTextsOfOneThingAreReadToTheirEnd) {
  const auto repeated = [](const std::string& text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i) result += text;
    return result;
  };
  EXPECT_EQ(parsed("\"" + repeated("\\n", 2000000) + "\"").text().size(), 2000000U);
  EXPECT_EQ(parsed("[" + repeated("1.5 ,", 500000) + "]").array()->size(), 500000U);
  EXPECT_EQ(parsed(std::string(10000000, ' ') + "1").integer(), 1);
  EXPECT_EQ(parsed(std::string(10000000, ' ') + "-0." + std::string(1000000, '0')).number(), 0.0);
  std::string members;
  for (int i = 0; i < 200000; ++i)
    members += "\"" + std::to_string(999999 - i) + "\":" + std::to_string(i) + ",";
  const SwJsonValue object = parsed("{" + members + members + "}");
  EXPECT_EQ(object.object()->size(), 200000U) << "each key twice";
  EXPECT_EQ((*object.object())["800000"].integer(), 199999);
}

TEST(SwJsonParser, ParsingStartsAtTheIndexAndLeavesTheRest) {
  SwString error;
  unsigned long index = 3;
  EXPECT_EQ(SwJsonDocument().parseJson("xxx [1] rest", index, "", error).array()->size(), 1U);
  EXPECT_EQ(index, 7U);
}

TEST(SwJsonParser, AnIndexPastTheEndIsTheEnd) {
  SwString error;
  unsigned long index = ~0UL;
  EXPECT_TRUE(SwJsonDocument().parseJson("ab", index, "", error).isNull());
  EXPECT_EQ(error, "Unexpected end of JSON input (index 2) near \"ab\"");
}

TEST(SwJsonParser, ParseStringStopsPastTheClosingQuote) {
  SwString error;
  unsigned long index = 2;
  EXPECT_EQ(SwJsonDocument().parseString("x \"a\\n\" y", index, error), "a\n");
  EXPECT_EQ(index, 7U);
  EXPECT_EQ(error, "");
}

TEST(SwJsonParser, ParseStringIsEmptyOnAnError) {
  SwString error;
  unsigned long index = 0;
  EXPECT_EQ(SwJsonDocument().parseString("\"abc", index, error), "");
  EXPECT_EQ(error, "Unterminated string literal (index 4) near \"\"abc\"");
}

TEST(SwJsonParser, ParseStringAtTheEndIsUnterminated) {
  for (const unsigned long start : {3UL, 4UL, ~0UL}) {
    SwString error;
    unsigned long index = start;
    EXPECT_EQ(SwJsonDocument().parseString("abc", index, error), "");
    EXPECT_EQ(error, "Unterminated string literal (index 3) near \"abc\"");
  }
}

TEST(SwJsonParser, AnErrorThatIsThereAlreadyStaysAndGivesNull) {
  // A container looks at the error after each of its values.
  for (const char* text : {"[1,2]", "[[]]", "[{},1]"}) {
    SwString error("earlier");
    unsigned long index = 0;
    EXPECT_TRUE(SwJsonDocument().parseJson(text, index, "", error).isNull()) << text;
    EXPECT_EQ(error, "earlier") << text;
    EXPECT_EQ(index, text[1] == '1' ? 2U : 3U) << text;
  }
}

TEST(SwJsonParser, OnlyTheFirstErrorIsKept) {
  EXPECT_EQ(errorOf("[01, tru, \"\t\""),
            "Leading zeros are not allowed in JSON numbers (index 2) near \"[01, tru, \"\t\"\"");
  SwString error("earlier");
  SwJsonDocument().reportError(error, "text", 0, "later");
  EXPECT_EQ(error, "earlier");
}

TEST(SwJsonParser, ReportErrorTakesAnyIndex) {
  const auto reported = [](const SwString& text, unsigned long index) {
    SwString error;
    SwJsonDocument().reportError(error, text, index, "m");
    return error.str();
  };
  EXPECT_EQ(reported("abc", 3), "m (index 3) near \"abc\"");
  EXPECT_EQ(reported("abc", 21), "m (index 21) near \"bc\"");
  EXPECT_EQ(reported("abc", 1000), "m (index 1000) near \"\"");
  EXPECT_EQ(reported("abc", ~0UL), "m (index 18446744073709551615) near \"\"");
}
