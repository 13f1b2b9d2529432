// Many random JSON texts, plain and keyed, through the parser and the reference. The texts are rows of
// tokens, so that they are neither all broken nor all whole.

#include <gtest/gtest.h>

#include <random>

#include "core/SwJsonDocument.h"
#include "fuzz/reference_encryption.h"
#include "fuzz/reference_json.h"
#include "test_support/StderrCapture.h"

namespace {

class RandomText {
 public:
  RandomText(unsigned seed, std::string key) : random_(seed), key_(std::move(key)) {}

  std::string next() {
    std::string text = below(8) == 0 ? value(0) : container(1 + below(4), below(2) == 0);
    // Some of them damaged: a byte removed, replaced or doubled.
    for (unsigned damages = below(4) / 2; damages > 0 && !text.empty(); --damages) {
      const std::size_t at = below(static_cast<unsigned>(text.size()));
      const std::string bytes = "\"\\{}[],:0-e.t\t\x01\x80 u";
      text.replace(at, 1, below(3), bytes[below(static_cast<unsigned>(bytes.size()))]);
    }
    return text;
  }

 private:
  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

  std::string space() { return std::vector<std::string>{"", "", "", " ", "\n\t", "\v\f\r"}[below(6)]; }

  std::string value(unsigned depth) {
    if (depth > 0 && below(2) == 0) return space() + container(depth - 1, below(2) == 0) + space();
    if (!key_.empty() && below(8) != 0) {
      const std::string cipherText = reference::encrypt(plain(), key_);
      return space() + (below(2) == 0 ? cipherText : "\"" + cipherText + "\"") + space();
    }
    return space() + (below(2) == 0 ? plain() : string()) + space();
  }

  std::string container(unsigned depth, bool isObject) {
    std::string text = isObject ? "{" : "[";
    for (unsigned count = below(5); count > 0; --count) {
      text += space();
      if (isObject) text += string() + space() + ":";
      text += value(depth);
      if (count > 1 || below(4) == 0) text += ",";
    }
    return text + space() + (isObject ? "}" : "]");
  }

  std::string plain() {
    static const std::vector<std::string> texts{
        "true",   "false", "null",     "0",     "-0",
        "012",    "1.5",   "-2.25e-3", "1e400", "9223372036854775807",
        "1e-400", "-9",    "1e5",      ".5",    "2147483648",
        "0x1e",   "x",     "",         "1.",    "9223372036854775808",
        "truex",  "nul",   "-",        "1E+2",  "-1.5",
        "00",     "1e+",   "99.99",    "+1",    "-9223372036854775808"};
    return texts[below(static_cast<unsigned>(texts.size()))];
  }

  std::string string() {
    static const std::vector<std::string> pieces{
        "a",       "b",       "",         "\\uD83D\\uDE00", "\\n",     "\\/",     "z",       "a longer piece",
        "\\\\",    "\\\"",    "\xC3\xA9", "plain text",     "\\u0041", "\\u00e9", "\\u20AC", "\\u0000",
        "\\uD83D", "\\uDE00", "\\u12",    "0123456789abcd", "\\x",     "\t",      "\xFF",    "{"};
    std::string text = "\"";
    for (unsigned count = below(4); count > 0; --count) {
      // The last eight are broken more often than not: rarely, or no text would be whole.
      text += pieces[below(below(8) == 0 ? 24 : 16)];
    }
    return text + "\"";
  }

  std::mt19937 random_;
  std::string key_;
};

// How many of the texts were accepted.
int checkTexts(int count, unsigned seed, const std::string& key) {
  RandomText texts(seed, key);
  int accepted = 0;
  for (int i = 0; i < count; ++i) {
    const std::string text = texts.next();
    const reference::ParsedJson expected = reference::parseJson(text, 0, key);
    SwString error;
    unsigned long index = 0;
    const StderrCapture captured;
    const SwJsonValue value = SwJsonDocument().parseJson(text, index, key, error);
    EXPECT_EQ(error.str(), expected.error) << text;
    EXPECT_EQ(index, expected.index) << text;
    EXPECT_TRUE(reference::identical(value, expected.value)) << text;
    EXPECT_EQ(captured.text(), expected.diagnostics) << text;
    if (testing::Test::HasFailure()) break;
    if (error.empty()) ++accepted;
  }
  return accepted;
}

}  // namespace

TEST(RandomJson, PlainTextsParseAsTheReferenceParsesThem) {
  const int accepted = checkTexts(20000, 1, "");
  EXPECT_GT(accepted, 4000);
  EXPECT_LT(accepted, 16000);
}

TEST(RandomJson, KeyedTextsParseAsTheReferenceParsesThem) {
  const int accepted = checkTexts(4000, 2, "a key");
  EXPECT_GT(accepted, 800);
  EXPECT_LT(accepted, 3800);
}
