#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>

#include "mask/mask_base64.h"
#include "test_support/scalar_base64.h"

namespace seg_mask {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
using Bytes = std::vector<uint8_t>;

std::string randomClean(std::mt19937& random, std::size_t length) {
  std::string text;
  for (std::size_t i = 0; i < length; ++i) text += kAlphabet[random() % kAlphabet.size()];
  return text;
}

char randomInvalid(std::mt19937& random) {
  for (;;) {
    const char c = static_cast<char>(random() % 256);
    if (c != '=' && kAlphabet.find(c) == std::string_view::npos) return c;
  }
}

/// Stretches of one bit and of noise, with foreign characters, and now and then an end.
std::string randomText(std::mt19937& random, std::size_t length, unsigned dirtyIn256) {
  std::string text;
  while (text.size() < length) {
    const std::size_t stretch = 1 + random() % 70;
    const unsigned kind = random() % 4;
    if (kind < 2) text += std::string(stretch, kind == 0 ? 'A' : '/');
    if (kind >= 2) text += randomClean(random, stretch);
  }
  text.resize(length);
  for (char& c : text) {
    if (random() % 256 < dirtyIn256) c = randomInvalid(random);
  }
  if (length != 0 && random() % 3 == 0) text[random() % length] = '=';
  return text;
}

void expectAsPlain(const std::string& text, std::size_t limit) {
  // Of its exact size and on the heap, so that sanitizers see a read behind the end.
  const std::vector<char> exact(text.begin(), text.end());
  const std::string_view view(exact.data(), exact.size());
  ASSERT_EQ(decodeBase64(view, limit), scalarDecodeBase64(view, limit))
      << "limit " << limit << ", text " << testing::PrintToString(text);
}

TEST(Base64, FourCharactersAreThreeBytesAndBitsThatMakeNoByteAreDropped) {
  EXPECT_EQ(decodeBase64("AQID", 3), (Bytes{1, 2, 3}));
  EXPECT_EQ(decodeBase64("/+8A", 3), (Bytes{0xFF, 0xEF, 0x00}));
  const std::size_t bytes[] = {0, 0, 1, 2, 3, 3};
  for (std::size_t length = 0; length < 6; ++length) {
    EXPECT_EQ(decodeBase64(std::string(length, length == 1 ? 'A' : '/'), 9), Bytes(bytes[length], 0xFF))
        << length;
  }
}

TEST(Base64, AnUnfinishedGroupGoesOnBehindForeignCharacters) {
  const std::string blanks(1000, ' ');
  EXPECT_EQ(decodeBase64("A" + blanks + "Q" + blanks + "I" + blanks + "D", 3), (Bytes{1, 2, 3}));
  EXPECT_EQ(decodeBase64("AQ" + blanks + "=ID", 3), (Bytes{1}));
}

TEST(Base64, TheEqualsSignEndsTheDataWhereverItIsAndAForeignCharacterIsSkipped) {
  std::mt19937 random(1);
  const std::string clean = randomClean(random, 200);
  for (std::size_t at = 0; at <= clean.size(); ++at) {
    std::string text = clean;
    text.insert(at, 1, '=');
    EXPECT_EQ(decodeBase64(text, 1000), scalarDecodeBase64(clean.substr(0, at), 1000)) << at;
    text[at] = randomInvalid(random);
    EXPECT_EQ(decodeBase64(text, 150), scalarDecodeBase64(clean, 150)) << at;
  }
}

TEST(Base64, EveryByteValueIsWhatTheAlphabetMakesOfItInEveryPlace) {
  for (int value = 0; value < 256; ++value) {
    for (std::size_t at = 0; at < 40; ++at) {
      std::string text(40, 'b');
      text[at] = static_cast<char>(value);
      ASSERT_NO_FATAL_FAILURE(expectAsPlain(text, 30)) << value << " at " << at;
    }
  }
}

TEST(Base64, AnyLengthAndAnyLimitDecodeAsThePlainWay) {
  std::mt19937 random(2);
  for (std::size_t length = 0; length <= 150; ++length) {
    const std::string clean = randomClean(random, length);
    const std::string oneBit(length, '/');
    for (std::size_t limit = 0; limit <= length * 3 / 4 + 2; ++limit) {
      ASSERT_NO_FATAL_FAILURE(expectAsPlain(clean, limit));
      ASSERT_NO_FATAL_FAILURE(expectAsPlain(oneBit, limit));
    }
  }
}

TEST(Base64, LinesOfAnyLengthDecodeAsOne) {
  std::mt19937 random(4);
  const std::string clean = randomClean(random, 600);
  const Bytes expected = scalarDecodeBase64(clean, 450);
  ASSERT_EQ(expected.size(), 450U);
  for (std::size_t length = 1; length <= 100; ++length) {
    std::string lines;
    for (std::size_t at = 0; at < clean.size(); at += length) lines += clean.substr(at, length) + "\r\n";
    EXPECT_EQ(decodeBase64(lines, 450), expected) << length;
  }
}

TEST(Base64, RandomDirtDecodesAsThePlainWay) {
  for (unsigned seed = 0; seed < 10'000; ++seed) {
    std::mt19937 random(seed);
    constexpr unsigned kDirt[] = {0, 1, 4, 16, 64, 128, 250, 256};
    const std::string text = randomText(random, random() % 1200, kDirt[seed % 8]);
    ASSERT_NO_FATAL_FAILURE(expectAsPlain(text, random() % 900)) << "seed " << seed;
  }
}

std::string encoded(const std::string& bytes) {
  std::string text;
  appendBase64(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), text);
  return text;
}

TEST(Base64, EncodingGivesTheTextsOfRfc4648AndReachesEveryCharacterOfTheAlphabet) {
  const std::pair<const char*, const char*> cases[] = {{"", ""},
                                                       {"f", "Zg=="},
                                                       {"fo", "Zm8="},
                                                       {"foo", "Zm9v"},
                                                       {"foob", "Zm9vYg=="},
                                                       {"fooba", "Zm9vYmE="},
                                                       {"foobar", "Zm9vYmFy"}};
  for (const auto& [bytes, text] : cases) EXPECT_EQ(encoded(bytes), text);
  const Bytes all = scalarDecodeBase64(kAlphabet, 48);
  std::string text = "before ";
  appendBase64(all.data(), all.size(), text);
  EXPECT_EQ(text, "before " + std::string(kAlphabet));
}

TEST(Base64, StretchesOfOneBitAreEncodedAsTheirGroupsAre) {
  for (unsigned seed = 0; seed < 500; ++seed) {
    std::mt19937 random(seed);
    std::string bytes;
    while (bytes.size() < 200) {
      // One byte again and again, or noise.
      const unsigned repeated[] = {0, 255, 0x55, 256};
      const unsigned kind = repeated[random() % 4];
      const std::size_t stretch = 1 + random() % 70;
      for (std::size_t i = 0; i < stretch; ++i) {
        bytes += static_cast<char>(kind < 256 ? kind : random() % 256);
      }
    }
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) text += encoded(bytes.substr(i, 3));
    ASSERT_EQ(encoded(bytes), text) << "seed " << seed;
  }
}

}  // namespace
}  // namespace seg_mask
