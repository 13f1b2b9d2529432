#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "src/plain_run.h"

namespace {

/// Blocks of every kind are passed through, and the ends of each.
constexpr std::size_t kLongest = 700;

}  // namespace

TEST(PlainRun, EndsAtEveryByteThatIsEscapedAndAtNoOther) {
  for (int byte = 0; byte < 256; ++byte) {
    for (const std::size_t before : {0U, 1U, 15U, 16U, 40U, 300U}) {
      const std::string text = std::string(before, 'x') + static_cast<char>(byte) + std::string(300, 'y');
      const bool ends = byte < 0x20 || byte == '"' || byte == '\\';
      EXPECT_EQ(plain_run::length(text.data(), text.size()), ends ? before : text.size())
          << "byte " << byte << " after " << before;
    }
  }
}

TEST(PlainRun, IsFoundAtEveryPositionOfEveryLength) {
  for (std::size_t size = 0; size <= kLongest; size += size < 80 ? 1 : 37) {
    std::string text(size, '~');
    EXPECT_EQ(plain_run::length(text.data(), size), size);
    for (std::size_t at = 0; at < size; ++at) {
      text[at] = '"';
      ASSERT_EQ(plain_run::length(text.data(), size), at) << "of " << size;
      text[at] = '~';
    }
  }
}

TEST(PlainRun, StopsAtTheEndAndLooksNoFurther) {
  for (std::size_t size = 0; size <= kLongest; ++size) {
    const std::string longer(kLongest + 300, ' ');
    ASSERT_EQ(plain_run::length(longer.data(), size), size);
    // A sanitizer sees any look behind this one.
    const std::vector<char> exact(size, ' ');
    ASSERT_EQ(plain_run::length(exact.data(), size), size);
  }
}

TEST(PlainRun, AgreesWithTheBytewiseVersionOnRandomText) {
  constexpr unsigned kSeed = 20;
  std::mt19937 random(kSeed);
  std::string text(kLongest, '\0');
  for (int round = 0; round < 20000; ++round) {
    const bool mostlyPlain = round % 2 == 0;
    const std::size_t size = random() % (kLongest + 1);
    for (std::size_t i = 0; i < size; ++i) {
      const bool plain = mostlyPlain && random() % 200 != 0;
      text[i] = static_cast<char>(plain ? 'a' + random() % 26 : random() % 256);
    }
    ASSERT_EQ(plain_run::length(text.data(), size), plain_run::lengthByBytes(text.data(), size))
        << "seed " << kSeed << ", round " << round;
  }
}

TEST(PlainRun, ShortRunsAreCopiedUnlessOneByteIsEscaped) {
  for (std::size_t size = 0; size <= plain_run::kShort; ++size) {
    const std::string text = std::string("abcdefghijklmnop").substr(0, size);
    std::string copy(size + 1, '#');
    EXPECT_TRUE(plain_run::copyShort(text.data(), size, copy.data()));
    EXPECT_EQ(copy, text + "#");
    for (std::size_t at = 0; at < size; ++at) {
      for (int byte = 0; byte < 256; ++byte) {
        std::string other = text;
        other[at] = static_cast<char>(byte);
        const bool escaped = byte < 0x20 || byte == '"' || byte == '\\';
        EXPECT_EQ(plain_run::copyShort(other.data(), size, copy.data()), !escaped) << byte << " at " << at;
      }
    }
  }
}
