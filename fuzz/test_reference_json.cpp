// The reference that fuzzers and tests compare the parser with, against values worked out by hand: where both
// were wrong in the same way, nothing else would show it.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "fuzz/reference_encryption.h"
#include "fuzz/reference_json.h"
#include "fuzz/reference_numbers.h"
#include "test_support/model/nearest_float.h"

namespace {

std::string errorOf(const std::string& text) {
  return reference::parseJson(text, 0, "").error;
}

}  // namespace

TEST(ReferenceJson, ReadsEveryKind) {
  const reference::ParsedJson parsed =
      reference::parseJson(" {\"b\":[1,-0.5,null],\"a\":true,\"b\":\"x\\n\"} ", 0, "");
  EXPECT_EQ(parsed.error, "");
  EXPECT_EQ(parsed.index, 39U);
  EXPECT_EQ(parsed.value.keys, (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(parsed.value.values[0].boolean);
  EXPECT_EQ(parsed.value.values[1].text, "x\n");
}

TEST(ReferenceJson, QuotesUpToTwentyBytesOnEitherSide) {
  const std::string text = "0123456789012345678901234567890123456789012345";
  EXPECT_EQ(reference::errorMessage(text, 5, "m"), "m (index 5) near \"0123456789012345678901234\"");
  EXPECT_EQ(reference::errorMessage(text, 22, "m"),
            "m (index 22) near \"2345678901234567890123456789012345678901\"");
  EXPECT_EQ(reference::errorMessage(text, 50, "m"), "m (index 50) near \"0123456789012345\"");
}

TEST(ReferenceJson, NamesWhatIsWrong) {
  EXPECT_EQ(errorOf("01"), "Leading zeros are not allowed in JSON numbers (index 1) near \"01\"");
  EXPECT_EQ(errorOf("[1,"), "Unexpected end of JSON input (index 3) near \"[1,\"");
  EXPECT_EQ(errorOf("{\"a\" 1}"), "Expected ':' after object key (index 5) near \"{\"a\" 1}\"");
  EXPECT_EQ(errorOf("\"\\uD83Dx"),
            "Missing low surrogate after high surrogate (index 7) near \"\"\\uD83Dx\"");
}

TEST(ReferenceJson, CombinesSurrogates) {
  EXPECT_EQ(reference::parseString("\"\\uD83D\\uDE00\"", 0).text, "\xF0\x9F\x98\x80");
}

TEST(ReferenceJson, TypesKeyedTextsByTheirForm) {
  std::string lines;
  EXPECT_EQ(reference::quotedValue("012", lines).integer, 10);
  EXPECT_EQ(reference::bareValue("012").integer, 12);
  EXPECT_EQ(reference::quotedValue("1e5", lines).text, "1e5");
  EXPECT_EQ(reference::bareValue("1e5").number, 100000.0);
  EXPECT_EQ(lines, "");
}

TEST(ReferenceJson, WritesText) {
  const reference::ParsedJson parsed = reference::parseJson("{\"a\":[],\"b\":[2.0,0.45]}", 0, "");
  EXPECT_EQ(reference::generateJson(parsed.value, false, 0, ""), "{\"a\": [],\"b\": [2,0.45]}");
  EXPECT_EQ(reference::generateJson(parsed.value, true, 0, ""),
            "{\n  \"a\": [],\n  \"b\": [\n    2,\n    0.45\n  ]\n}");
}

TEST(ReferenceNumbers, ReadLiteralsOfEveryBase) {
  for (const char* text : {"42", " 42 ", "4_2", "0x2A", "052", "0b101010"}) {
    EXPECT_EQ(reference::toInt(text), 42) << text;
  }
  EXPECT_EQ(reference::toInt("2147483648"), std::nullopt);
  EXPECT_EQ(reference::toInt("12abc"), 12);
  EXPECT_EQ(reference::numericDouble("99999999999999999999"), 1e20);
  EXPECT_EQ(reference::numericDouble("abc"), std::nullopt);
}

TEST(ReferenceNumbers, RoundToTheNearestFloat) {
  EXPECT_EQ(model::nearestFloat(0.5), 0.5F);
  EXPECT_EQ(model::nearestFloat(16777217.0), 16777216.0F);
  EXPECT_EQ(model::nearestFloat(-16777219.0), -16777220.0F);
  EXPECT_EQ(model::nearestFloat(0x1.fffffefffffffp127), 0x1.fffffep127F);
  EXPECT_EQ(model::nearestFloat(-0x1.ffffffp127), -std::numeric_limits<float>::infinity());
  // Three quarters of the way from one subnormal float to the next.
  EXPECT_EQ(model::nearestFloat(0x1.000003p-127), 0x1.000004p-127F);
  EXPECT_EQ(model::nearestFloat(0x1p-150), 0.0F);
  EXPECT_TRUE(std::signbit(model::nearestFloat(-0x1p-150)));
}

// The block of FIPS 197's example for AES-256, and RFC 4648's base64.
TEST(ReferenceEncryption, AgreesWithPublishedVectors) {
  std::string key;
  for (int i = 0; i < 32; ++i) key += static_cast<char>(i);
  std::string block;
  for (int i = 0; i < 16; ++i) block += static_cast<char>(static_cast<unsigned char>(i * 0x11));
  const std::string expected = "\x8E\xA2\xB7\xCA\x51\x67\x45\xBF\xEA\xFC\x49\x90\x4B\x49\x60\x89";
  EXPECT_EQ(reference::aesEncrypt(block, key).substr(0, 16), expected);
  EXPECT_EQ(reference::aesDecrypt(expected, key), block);
  EXPECT_EQ(reference::base64Encode("fooba"), "Zm9vYmE=");
  EXPECT_EQ(reference::base64Decode("Zm9vYmE="), "fooba");
}
