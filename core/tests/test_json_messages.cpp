// Every message about JSON, once, as a whole: the text, the index and the excerpt.

#include <gtest/gtest.h>

#include <string>

#include "core/SwJsonDocument.h"
#include "test_support/Allocations.h"
#include "test_support/StderrCapture.h"

namespace {

std::string messageFor(const SwString& json, const SwString& key = "") {
  SwJsonDocument document;
  SwString error;
  EXPECT_FALSE(document.loadFromJson(json, error, key)) << json.str();
  return error;
}

struct Case {
  const char* json;
  const char* message;
};

std::string reported(const SwString& json, unsigned long index) {
  SwString error;
  SwJsonDocument().reportError(error, json, index, "m");
  return error;
}

}  // namespace

TEST(JsonMessages, EachOneAsAWhole) {
  const Case cases[] = {
      {" ", R"(Unexpected end of JSON input (index 1) near " ")"},
      {"[1,+2]", R"(Invalid JSON token (index 3) near "[1,+2]")"},
      {R"({"a":1)", R"(Unterminated JSON object (index 6) near "{"a":1")"},
      {"{a:1}", R"(Expected string key in object (index 1) near "{a:1}")"},
      {R"({"a" 1})", R"(Expected ':' after object key (index 5) near "{"a" 1}")"},
      {R"({"a":1;})", R"(Expected ',' or '}' in object (index 6) near "{"a":1;}")"},
      {"[", R"(Unterminated JSON array (index 1) near "[")"},
      {"[1;2]", R"(Expected ',' or ']' in array (index 2) near "[1;2]")"},
      {"[trux]", R"(Invalid boolean literal (index 5) near "[trux]")"},
      {"[nil]", R"(Invalid literal, expected 'null' (index 4) near "[nil]")"},
      {"[-]", R"(Expected digit in number literal (index 2) near "[-]")"},
      {"[-01]", R"(Leading zeros are not allowed in JSON numbers (index 3) near "[-01]")"},
      {"[1.]", R"(Expected digit after decimal point (index 3) near "[1.]")"},
      {"[1e+]", R"(Expected digit in exponent (index 4) near "[1e+]")"},
      {"[1e999]", R"(Invalid floating-point number (index 1) near "[1e999]")"},
      {"[9223372036854775808]", R"(Invalid integer number (index 1) near "[9223372036854775808]")"},
      {R"(["a\)", R"(Invalid escape sequence in string (index 4) near "["a\")"},
      {R"(["\q"])", R"(Invalid escape character in string (index 3) near "["\q"]")"},
      {R"(["\u12)", R"(Incomplete Unicode escape sequence (index 4) near "["\u12")"},
      {R"(["\u12x4"])", R"(Invalid hex digit in Unicode escape (index 6) near "["\u12x4"]")"},
      {R"(["\uDC00"])",
       R"(Unexpected low surrogate without leading high surrogate (index 8) near "["\uDC00"]")"},
      {R"(["\uD800 "])", R"(Missing low surrogate after high surrogate (index 8) near "["\uD800 "]")"},
      {R"(["\uD800\u0041"])",
       R"(Invalid low surrogate in Unicode escape (index 14) near "["\uD800\u0041"]")"},
      {"[\"\n\"]", "Unescaped control character in string (index 2) near \"[\"\n\"]\""},
      {R"(["abc)", R"(Unterminated string literal (index 5) near "["abc")"},
      {"[1] 2", "Unexpected characters at the end of JSON."},
  };
  for (const auto& [json, message] : cases) EXPECT_EQ(messageFor(json), message);
}

TEST(JsonMessages, UnableToDecryptAStringValue) {
  const SwString json = R"({"a":"42"})";
  const SwString key("key");
  SwString error;
  bool seen = false;
  // Text that is no cipher text makes decrypting write a line; without memory for that, it throws.
  const auto parse = [&] {
    const StderrCapture captured;
    SwJsonDocument document;
    try {
      const Failing failing(operatorNew);
      document.loadFromJson(json, error, key);
    } catch (const std::bad_alloc&) {
      return;
    }
    if (error.empty()) return;
    seen = true;
    EXPECT_EQ(error, R"(Unable to decrypt string value (index 9) near "{"a":"42"}")");
    EXPECT_TRUE(document.root().isNull());
  };
  runWithEachFailure(operatorNew, parse);
  EXPECT_TRUE(seen);
}

TEST(JsonMessages, TheRootIsNotAnObject) {
  const StderrCapture captured;
  EXPECT_TRUE(SwJsonDocument().object().empty());
  EXPECT_EQ(captured.text(), "Root is not a JSON object.\n");
}

/// The ends of a text that break off in an array or an object.
TEST(JsonMessages, TextsThatBreakOff) {
  const Case cases[] = {
      {"[", R"(Unterminated JSON array (index 1) near "[")"},
      {"[ ", R"(Unexpected end of JSON input (index 2) near "[ ")"},
      {"[1", R"(Unterminated JSON array (index 2) near "[1")"},
      {"[1,", R"(Unexpected end of JSON input (index 3) near "[1,")"},
      {R"({"a":1,)", R"(Unterminated JSON object (index 7) near "{"a":1,")"},
  };
  for (const auto& [json, message] : cases) EXPECT_EQ(messageFor(json), message);
}

/// 2^31 - 1 is where an excerpt's bounds are cut, 2^32 where an int would start anew.
TEST(JsonMessages, AnIndexFarPastTheTextHasAnEmptyExcerpt) {
  const SwString json = std::string(64, 'x');
  for (const unsigned long index : {85UL, 2147483647UL, 2147483648UL, 2147483667UL, 4294967296UL,
                                    4294967321UL, ~0UL - 20, ~0UL - 19, ~0UL - 1, ~0UL}) {
    EXPECT_EQ(reported(json, index), "m (index " + std::to_string(index) + R"() near "")");
  }
  EXPECT_EQ(reported(json, 83), R"(m (index 83) near "x")");
}

/// Not among the tests that always run, because it takes 2 GiB:
///   build/cpu/bin/core_json_messages_test --gtest_also_run_disabled_tests --gtest_filter='*TwoGiB*'
TEST(JsonMessages, DISABLED_ExcerptsEndAtTwoGiB) {
  std::string text = "[" + std::string(2147483647UL + 99, ' ') + "?";
  EXPECT_EQ(messageFor(text), R"(Invalid JSON token (index 2147483747) near "")");

  text.replace(2147483620, 27, "abcdefghijklmnopqrstuvwxyz0");  // up to, but not including, byte 2^31 - 1
  const SwString json(std::move(text));
  EXPECT_EQ(reported(json, 2147483647), R"(m (index 2147483647) near "hijklmnopqrstuvwxyz0")");
  EXPECT_EQ(reported(json, 2147483660), R"(m (index 2147483660) near "uvwxyz0")");
  for (const unsigned long index : {2147483667UL, 2147483700UL, 4294967321UL, ~0UL - 19, ~0UL}) {
    EXPECT_EQ(reported(json, index), "m (index " + std::to_string(index) + R"() near "")");
  }
}
