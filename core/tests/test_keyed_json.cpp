// Encrypted JSON documents, read and written.

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <string>
#include <utility>

#include "test_support/SmallStack.h"
#include "test_support/StderrCapture.h"
#include "tests/json_text.h"

namespace {

using json_text::repeated;

const SwString kKey = "key";

/// Cipher texts under "key", made with the openssl command line as test_SwStringEncryption.cpp tells.
const std::string kHello = "LdfwP4C6o/zvbXYyBAItdA==";
const std::string kTrue = "c8UTVAFVGVF/2A2eoXUMdg==";
const std::string kFalse = "aavQkKi6rdEcfHmmUaRpsw==";
const std::string kNull = "FpJpVBMIdR5o4ouxIKDi4A==";
const std::string k012 = "g1z0BEltkN4lmRuJ5hw2oA==";
const std::string k42 = "jMICciV0iqRifyLLzQDWng==";
const std::string kEmpty = "Pz12b833ffVieHF07pgA0w==";

const std::string kDecryptionError =
    "Decryption error: Invalid data size for AES-ECB (must be multiple of 16).\n";

SwJsonValue parsed(const SwString& text, const SwString& key = kKey) {
  return json_text::parsed(text, key);
}

/// For texts so short that the message quotes all of them.
void expectError(const std::string& text, const std::string& message, int index) {
  SwString error;
  unsigned long at = 0;
  EXPECT_TRUE(SwJsonDocument().parseJson(text, at, kKey, error).isNull()) << text;
  EXPECT_EQ(error, message + " (index " + std::to_string(index) + ") near \"" + text + "\"");
}

SwJsonValue fromBare(const SwString& plain) {
  return parsed(plain.encryptAES(kKey));
}

SwJsonValue fromQuoted(const SwString& plain) {
  return parsed("\"" + plain.encryptAES(kKey).str() + "\"");
}

std::string generated(const SwJsonValue& value, const SwString& key = kKey, bool indented = false) {
  return json_text::generated(value, key, indented);
}

SwJsonValue arrayOf(std::initializer_list<SwJsonValue> elements) {
  SwJsonArray array;
  for (const SwJsonValue& element : elements) array.append(element);
  return array;
}

SwJsonValue roundTripped(const SwJsonValue& value) {
  return parsed(generated(value));
}

}  // namespace

TEST(KeyedJsonQuoted, KnownCipherTextsHaveTheirValues) {
  const std::pair<std::string, SwJsonValue> cases[] = {{kHello, "hello"}, {kEmpty, ""},     {kTrue, true},
                                                       {kFalse, false},   {kNull, nullptr}, {k42, 42},
                                                       {k012, 10}};
  for (const auto& [cipherText, value] : cases) EXPECT_EQ(parsed("\"" + cipherText + "\""), value);
}

TEST(KeyedJsonQuoted, DigitsAreAnIntOctalAfterALeadingZeroAndDecimalsADoubleOfSinglePrecision) {
  const std::pair<const char*, SwJsonValue> cases[] = {
      {"-012", -10},
      {"09", 0},  // 9 is no octal digit, and what follows a number is ignored
      {"-2147483648", -2147483648L},
      {"2147483647", 2147483647},
      {"0.1", static_cast<double>(0.1F)},
      {"-16777217.0", -16777216.0},  // 2^24 + 1 has no float
      {"012.5", 12.5},
      {"5.", 5.0},
      {".5", 0.5},
      {"-.5", -0.5}};
  for (const auto& [text, value] : cases) EXPECT_EQ(fromQuoted(text), value) << text;
}

TEST(KeyedJsonQuoted, NumbersThatCannotBeReadAre0WithTheMessageAndDecimalsBeyondFloatInfinity) {
  const auto expectZero = [](const SwJsonValue& zero, const std::string& text, const std::string& kind) {
    const StderrCapture captured;
    EXPECT_EQ(fromQuoted(text), zero);
    EXPECT_EQ(captured.text(), "Invalid " + kind + " conversion in SwString: " + text + "\n");
  };
  for (const char* digits : {"9999999999", "2147483648", "-2147483649", "99999999999999999999"}) {
    expectZero(0, digits, "int");
  }
  for (const std::string& text : {std::string("."), std::string("-."), "1" + repeated("0", 400) + "."}) {
    expectZero(0.0, text, "float");
  }
  EXPECT_EQ(fromQuoted("1" + repeated("0", 39) + "."), SwJsonValue(std::numeric_limits<double>::infinity()));
}

TEST(KeyedJsonQuoted, AnythingElseIsAString) {
  for (const char* text : {"True", " true", "",    "-",  "+1", "1e5",   "1.5e3", "1.2.3", "..", "--1",
                           "1-",   "0x1e",  "0b1", " 1", "1 ", "1_000", "inf",   "nan",   "{}", "\"x\""}) {
    EXPECT_EQ(fromQuoted(text), SwJsonValue(text));
  }
  EXPECT_EQ(fromQuoted(SwString("1\0", 2)), SwJsonValue(SwString("1\0", 2)));
}

TEST(KeyedJsonQuoted, WhatIsNotCipherTextIsAnEmptyString) {
  const StderrCapture captured;
  EXPECT_EQ(parsed("[\"42\",\"true\",\"\"]"), arrayOf({"", "", ""}));
  EXPECT_EQ(captured.text(),
            kDecryptionError + kDecryptionError + "Decryption error: Invalid data: empty.\n");
}

TEST(KeyedJsonQuoted, CipherTextIsUnescapedFirst) {
  const std::string escaped = "\"LdfwP4C6o\\/zvbXYyBAItdA\\u003d\\u003D\"";
  EXPECT_EQ(parsed(escaped), SwJsonValue("hello"));
}

TEST(KeyedJsonQuoted, StringErrorsStayWhatTheyAre) {
  expectError("\"abc", "Unterminated string literal", 4);
  expectError("[\"a\tb\"]", "Unescaped control character in string", 3);
}

TEST(KeyedJsonBare, KnownCipherTextsHaveTheirValues) {
  const std::pair<std::string, SwJsonValue> cases[] = {{kHello, "hello"},
                                                       {kEmpty, ""},
                                                       {kTrue, true},
                                                       {kFalse, false},
                                                       {kNull, nullptr},
                                                       {k42, 42},
                                                       {k012, 12},                           // in base 10
                                                       {"1heT0vEWS/33mnaCO4i4eQ==", 30.0}};  // 0x1e
  for (const auto& [cipherText, value] : cases) EXPECT_EQ(parsed(cipherText), value);
}

TEST(KeyedJsonBare, IntegersHave64BitsAndBase10AndDoublesFullPrecision) {
  const std::pair<const char*, SwJsonValue> cases[] = {{"09", 9},
                                                       {"9999999999", 9999999999L},
                                                       {"9223372036854775807", INT64_MAX},
                                                       {"-9223372036854775808", INT64_MIN},
                                                       {"0.1", 0.1},
                                                       {"1e5", 100000.0},
                                                       {"-2.5E-1", -0.25},
                                                       {"5.", 5.0},
                                                       {" 42", 42},
                                                       {"+42", 42},
                                                       {"\t+.5", 0.5}};  // blanks before a number and a plus
  for (const auto& [text, value] : cases) EXPECT_EQ(fromBare(text), value) << text;
}

TEST(KeyedJsonBare, NumbersOutOfRangeOrNotTheWholeTextAreStrings) {
  for (const char* text : {"9223372036854775808",
                           "-9223372036854775809",
                           "1e400",
                           "-1e400",
                           "1e-400",
                           "4.9e-324",
                           "NULL",
                           "0x10",
                           "",
                           ".",
                           "-",
                           "42 ",
                           "12abc",
                           "1.5x",
                           "e",
                           "1e",
                           "1.2.3",
                           "4_2",
                           "inf",
                           "nan",
                           "hello"}) {
    EXPECT_EQ(fromBare(text), SwJsonValue(text));
  }
  EXPECT_EQ(fromBare(SwString("42\0", 3)), SwJsonValue(SwString("42\0", 3)));
  EXPECT_EQ(fromBare(SwString("4.2\0", 4)), SwJsonValue(SwString("4.2\0", 4)));
}

TEST(KeyedJsonBare, APlainLiteralIsAnEmptyStringWithTheMessage) {
  for (const char* text : {"42", "true", "false", "null", "-1.5", "tru", "01"}) {
    const StderrCapture captured;
    EXPECT_EQ(parsed(text), SwJsonValue("")) << text;
    EXPECT_EQ(captured.text().rfind("Decryption error: ", 0), 0U) << text;
  }
}

TEST(KeyedJsonBare, ATokenEndsAtACommaABracketOrWhiteSpace) {
  EXPECT_EQ(parsed("[" + k42 + "," + kTrue + "]"), arrayOf({SwJsonValue(42), SwJsonValue(true)}));
  EXPECT_EQ(parsed("{\"a\":" + k42 + "}").object()->find("a")->integer(), 42);
  for (const char space : {' ', '\t', '\n', '\v', '\f', '\r'}) {
    EXPECT_EQ(parsed("[" + k42 + space + "]").array()->at(0), SwJsonValue(42));
  }
}

TEST(KeyedJsonBare, NothingElseEndsAToken) {
  const StderrCapture captured;
  const std::string token = "?\"a\":{[\\\x01";
  EXPECT_EQ(parsed("[" + token + "]"), arrayOf({SwJsonValue("")}));
  EXPECT_EQ(captured.text(), "Decryption error: Invalid data: empty.\n");
  EXPECT_EQ(parsed("[" + k42 + ":{]").array()->at(0), SwJsonValue(42)) << "decoding stops at the first '='";
}

TEST(KeyedJsonBare, AnEmptyTokenIsANumberWithoutDigits) {
  expectError("[,1]", "Expected digit in number literal", 1);
  expectError("{\"a\":}", "Expected digit in number literal", 5);
  expectError("{\"a\": ]", "Expected digit in number literal", 6);
  expectError("]", "Expected digit in number literal", 0);
}

TEST(KeyedJson, TheEndTrailingCommasAndBrokenSeparatorsAreAsInPlainJson) {
  expectError("", "Unexpected end of JSON input", 0);
  expectError("[ ", "Unexpected end of JSON input", 2);
  EXPECT_EQ(parsed("[" + k42 + ",]"), arrayOf({SwJsonValue(42)}));
  EXPECT_EQ(parsed("{\"a\":" + k42 + ",}").object()->size(), 1U);
  expectError("{\"\":[] x", "Expected ',' or '}' in object", 7);
  expectError("[[] x", "Expected ',' or ']' in array", 4);
}

TEST(KeyedJson, KeysAreNeverDecrypted) {
  const SwJsonValue value = parsed("{\"plain\":" + k42 + ",\"" + kHello + "\":\"" + kHello + "\"}");
  ASSERT_EQ(value.object()->size(), 2U);
  EXPECT_EQ(value.object()->find("plain")->integer(), 42);
  EXPECT_EQ(value.object()->find(kHello)->text(), "hello");
}

TEST(KeyedJson, LoadFromJsonTakesTheKey) {
  SwJsonDocument document;
  SwString error;
  EXPECT_TRUE(document.loadFromJson(" {\"a\": \"" + kHello + "\"} ", error, kKey)) << error.str();
  EXPECT_EQ(document.object()["a"].text(), "hello");
  EXPECT_FALSE(document.loadFromJson(k42 + " " + k42, error, kKey));
  EXPECT_EQ(error, "Unexpected characters at the end of JSON.");
  EXPECT_EQ(document.root(), SwJsonValue(42));
}

TEST(KeyedJson, WithoutAKeyCipherTextIsAStringAndUnderAWrongOneGarbage) {
  EXPECT_EQ(parsed("\"" + kHello + "\"", ""), SwJsonValue(kHello));
  // "openssl enc -d -nopad" under the key "other" gives these bytes.
  EXPECT_EQ(parsed("\"" + kHello + "\"", "other"),
            SwJsonValue("\xcd\x6a\xc1\xa0\x74\x5f\x21\x7e\x9f\x6d\x96\xb4\xc5\xcc\xa8\x1c"));
  EXPECT_TRUE(parsed(k42, "other").isString());
}

TEST(KeyedJson, CipherTextCutShortOrWithALineBreakIsAnEmptyString) {
  const StderrCapture captured;
  EXPECT_EQ(parsed("\"" + kHello.substr(0, 21) + "\""), SwJsonValue(""));
  EXPECT_EQ(parsed(kHello.substr(0, 21)), SwJsonValue(""));
  EXPECT_EQ(parsed("\"" + kHello.substr(0, 12) + "\\n" + kHello.substr(12) + "\""), SwJsonValue(""));
  EXPECT_EQ(captured.text(), repeated(kDecryptionError, 3));
  expectError("[abc\ndef]", "Expected ',' or ']' in array", 5);
}

TEST(KeyedJsonGenerator, ScalarsAreBareTokensStringsQuotedNullAndEmptyContainersPlain) {
  const std::pair<SwJsonValue, std::string> cases[] = {{true, kTrue},
                                                       {false, kFalse},
                                                       {42, k42},
                                                       {0.1, "EoVxbXoRbZUAod3y+R1iJw=="},
                                                       {42.0, k42},
                                                       {"hello", "\"" + kHello + "\""},
                                                       {"", "\"" + kEmpty + "\""},
                                                       {nullptr, "null"},
                                                       {SwJsonObject(), "{}"},
                                                       {SwJsonArray(), "[]"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(generated(value), text);
}

TEST(KeyedJsonGenerator, KeysStayReadableAndAreEscaped) {
  SwJsonObject object;
  object.insert("a\"b", 42);
  object.insert("c", arrayOf({SwJsonValue("hello"), SwJsonValue()}));
  EXPECT_EQ(generated(object), "{\"a\\\"b\": " + k42 + ",\"c\": [\"" + kHello + "\",null]}");
  EXPECT_EQ(generated(object, kKey, true),
            "{\n  \"a\\\"b\": " + k42 + ",\n  \"c\": [\n    \"" + kHello + "\",\n    null\n  ]\n}");
}

TEST(KeyedJsonGenerator, WhatCannotBeEncryptedIsLeftOut) {
  const StderrCapture captured;
  ASSERT_EQ(EVP_set_default_properties(nullptr, "provider=none"), 1);
  const std::string text = generated(arrayOf({SwJsonValue("hello"), SwJsonValue(42), SwJsonValue()}));
  ASSERT_EQ(EVP_set_default_properties(nullptr, ""), 1);
  EXPECT_EQ(text, "[\"\",,null]");
  EXPECT_EQ(captured.text(), repeated("Encryption error: EVP sha algo unavailable.\n", 2));
  expectError("[\"\",,null]", "Expected digit in number literal", 4);
}

TEST(KeyedJsonRoundTrip, BoolsIntsDoublesAndStringsComeBack) {
  for (const SwJsonValue& value :
       {SwJsonValue(true), SwJsonValue(false), SwJsonValue(0), SwJsonValue(-7), SwJsonValue(INT64_MIN),
        SwJsonValue(INT64_MAX), SwJsonValue(0.45), SwJsonValue(-1.5e-7), SwJsonValue(""),
        SwJsonValue("hello"), SwJsonValue("a\"\\\n\x01\xC3\xA9/"), SwJsonValue(SwString("\0", 1)),
        SwJsonValue(std::string(1000, 'x'))}) {
    EXPECT_EQ(roundTripped(value), value) << value.toString();
  }
}

TEST(KeyedJsonRoundTrip, ContainersComeBackInBothLayoutsUnderEveryKindOfKey) {
  SwJsonObject inner;
  inner.insert("d", 0.5);
  inner.insert("e", SwJsonArray());
  SwJsonObject object;
  object.insert("a", true);
  object.insert("b", arrayOf({SwJsonValue(1), SwJsonValue("x y"), SwJsonValue(inner)}));
  object.insert("c", SwJsonObject());
  for (const char* key : {"k", "0123456789abcdef0123456789abcdef", "a key of more than thirty-two bytes"}) {
    for (const bool indented : {false, true}) {
      EXPECT_EQ(parsed(generated(object, key, indented), key), SwJsonValue(object)) << key;
    }
  }
}

TEST(KeyedJsonRoundTrip, NullIsWrittenPlainlyAndSoReadAsAnEmptyString) {
  const StderrCapture captured;
  EXPECT_EQ(roundTripped(nullptr), SwJsonValue(""));
  EXPECT_EQ(captured.text(), kDecryptionError);
}

TEST(KeyedJsonRoundTrip, TextsAndDoublesThatLookLikeOtherKindsChangeTheirs) {
  const std::pair<SwJsonValue, SwJsonValue> cases[] = {
      {"true", true},        {"null", nullptr},
      {"012", 10},           {"0.1", static_cast<double>(0.1F)},
      {std::nan(""), "nan"}, {std::numeric_limits<double>::infinity(), INT64_MAX},
      {1.0 / 3, 0.333333}};  // six digits
  for (const auto& [value, readAgain] : cases) EXPECT_EQ(roundTripped(value), readAgain);
}

TEST(KeyedJsonRoundTrip, DepthIsAsEndlessAsInPlainJson) {
  constexpr int kDepth = 500000;
  const std::string text = repeated("[{\"k\": ", kDepth) + k42 + repeated("}]", kDepth);
  runOnSmallStack([&text] {
    const SwJsonValue value = parsed(text);
    EXPECT_TRUE(generated(value) == text);
  });
}
