#include <gtest/gtest.h>

#include <random>
#include <string>

#include "mask/mask_text.h"
#include "mask/run_lengths.h"

namespace seg_mask {
namespace {

/// The mask, row by row: "#" inside, "." outside, rows apart by "/". What is wrong where there is none.
std::string drawn(const std::optional<MaskBits>& mask, RunLengthsFault fault) {
  if (!mask) return "fault " + std::to_string(static_cast<int>(fault));
  std::string text;
  for (int y = 0; y < mask->height; ++y) {
    for (int x = 0; x < mask->width; ++x) {
      text += mask->inside(static_cast<std::size_t>(y) * static_cast<std::size_t>(mask->width) +
                           static_cast<std::size_t>(x))
                  ? '#'
                  : '.';
    }
    if (y + 1 < mask->height) text += '/';
  }
  return text;
}

std::string ofRuns(const std::vector<int64_t>& runs, int width, int height) {
  RunLengthsFault fault{};
  const std::optional<MaskBits> mask = decodeRunLengths(runs, width, height, fault);
  return drawn(mask, fault);
}

std::string ofText(const std::string& text, int width, int height) {
  RunLengthsFault fault{};
  const std::optional<MaskBits> mask = decodeCompressedRunLengths(text, width, height, fault);
  return drawn(mask, fault);
}

std::string faultText(RunLengthsFault fault) {
  return drawn(std::nullopt, fault);
}

TEST(RunLengths, CountDownTheColumnsAndBeginOutside) {
  // Three rows: the first column outside, the second inside but for its last pixel, the third outside.
  EXPECT_EQ(ofRuns({3, 2, 4}, 3, 3), ".#./.#./...");
}

TEST(RunLengths, ARunGoesOnInTheNextColumns) {
  EXPECT_EQ(ofRuns({1, 7, 1}, 3, 3), ".##/###/##.");
}

TEST(RunLengths, AMaskThatBeginsInsideHasAFirstRunOfZero) {
  EXPECT_EQ(ofRuns({0, 1, 3}, 2, 2), "#./..");
  EXPECT_EQ(ofRuns({0, 4}, 2, 2), "##/##");
  EXPECT_EQ(ofRuns({4}, 2, 2), "../..");
}

TEST(RunLengths, RunsOfZeroJoinTheirNeighbours) {
  EXPECT_EQ(ofRuns({1, 1, 0, 1, 1}, 2, 2), ".#/#.");
  EXPECT_EQ(ofRuns({1, 0, 1, 2, 0}, 2, 2), ".#/.#");
}

TEST(RunLengths, ThatDoNotFillTheMaskOrMoreAreRefused) {
  EXPECT_EQ(ofRuns({}, 2, 2), faultText(RunLengthsFault::TooFewPixels));
  EXPECT_EQ(ofRuns({1, 2}, 2, 2), faultText(RunLengthsFault::TooFewPixels));
  EXPECT_EQ(ofRuns({1, 4}, 2, 2), faultText(RunLengthsFault::TooManyPixels));
  EXPECT_EQ(ofRuns({INT64_MAX, INT64_MAX}, 2, 2), faultText(RunLengthsFault::TooManyPixels));
  EXPECT_EQ(ofRuns({5, -1}, 2, 2), faultText(RunLengthsFault::TooManyPixels)) << "the first that is wrong";
  EXPECT_EQ(ofRuns({1, -1, 4}, 2, 2), faultText(RunLengthsFault::Negative));
  EXPECT_EQ(ofRuns({INT64_MIN}, 2, 2), faultText(RunLengthsFault::Negative));
}

TEST(RunLengths, BitsBehindTheLastPixelAreClear) {
  RunLengthsFault fault{};
  EXPECT_EQ(decodeRunLengths({0, 9}, 3, 3, fault)->bits, (std::vector<uint8_t>{0xFF, 0x01}));
}

TEST(CompressedRunLengths, AreTheDocumentedExample) {
  EXPECT_EQ(ofRuns({3, 2, 1, 2}, 4, 2), "..##/.#.#");
  EXPECT_EQ(ofText("3210", 4, 2), "..##/.#.#");
}

TEST(CompressedRunLengths, ANumberHasItsLowestFiveBitsFirst) {
  // 100 = 3 * 32 + 4: 4 with the bit for more is 36, "T"; then 3. 16 would be negative in one group: 48, "`",
  // then 0.
  EXPECT_EQ(ofText("T3", 100, 1), std::string(100, '.'));
  EXPECT_EQ(ofText("`0", 16, 1), std::string(16, '.'));
}

TEST(CompressedRunLengths, FromTheFourthOnNumbersAreDifferencesToTwoBefore) {
  // 2 3 1, then 3 - 1 = 2, then 1 + 1 = 2: ten pixels. -1 is 31, "O".
  EXPECT_EQ(ofText("231O1", 10, 1), "..###.##..");
}

TEST(CompressedRunLengths, ThatLieAreRefused) {
  EXPECT_EQ(ofText("", 2, 2), faultText(RunLengthsFault::TooFewPixels));
  EXPECT_EQ(ofText("12", 2, 2), faultText(RunLengthsFault::TooFewPixels));
  EXPECT_EQ(ofText("5", 2, 2), faultText(RunLengthsFault::TooManyPixels));
  EXPECT_EQ(ofText("1O", 2, 2), faultText(RunLengthsFault::Negative)) << "-1";
  EXPECT_EQ(ofText("111N", 2, 2), faultText(RunLengthsFault::Negative)) << "1 - 2";
  EXPECT_EQ(ofText("T", 2, 2), faultText(RunLengthsFault::Unfinished));
  EXPECT_EQ(ofText("/4", 2, 2), faultText(RunLengthsFault::Character));
  EXPECT_EQ(ofText("p4", 2, 2), faultText(RunLengthsFault::Character));
  EXPECT_EQ(ofText("\xFF"
                   "4",
                   2, 2),
            faultText(RunLengthsFault::Character));
  EXPECT_EQ(ofText(std::string(1, '\0') + "4", 2, 2), faultText(RunLengthsFault::Character));
}

TEST(CompressedRunLengths, NumbersOfMoreThanSixtyBitsAreRefused) {
  // Twelve groups, all of them with the bit for more; a thirteenth would shift beyond 64 bits.
  EXPECT_EQ(ofText(std::string(11, 'P') + "0", 2, 2), faultText(RunLengthsFault::TooFewPixels)) << "a long 0";
  EXPECT_EQ(ofText(std::string(12, 'P') + "0", 2, 2), faultText(RunLengthsFault::TooLarge));
  EXPECT_EQ(ofText(std::string(11, 'o') + "?", 2, 2), faultText(RunLengthsFault::TooManyPixels))
      << "2^59 - 1";
  EXPECT_EQ(ofText(std::string(11, 'P') + "@", 2, 2), faultText(RunLengthsFault::Negative)) << "-2^59";
}

TEST(EncodeCompressedRunLengths, AreTheTextOfTheRuns) {
  EXPECT_EQ(encodeCompressedRunLengths(MaskBits{4, 2, {0b10101100}}), "3210");
  EXPECT_EQ(encodeCompressedRunLengths(MaskBits{10, 1, {0b11011100, 0b00}}), "231O1");
  EXPECT_EQ(encodeCompressedRunLengths(MaskBits{4, 4, {0, 0}}), "`0");
  EXPECT_EQ(encodeCompressedRunLengths(MaskBits{1, 1, {1}}), "01");
}

TEST(EncodeCompressedRunLengths, DecodingGivesTheMaskBackForEveryWidth) {
  std::mt19937 random(1);
  for (int width = 1; width <= 140; ++width) {
    for (int height : {1, 2, 7, 70}) {
      MaskBits mask{width, height, {}};
      const int pixels = width * height;
      for (int i = 0; i < (pixels + 7) / 8; ++i) {
        mask.bits.push_back(static_cast<uint8_t>(random() & (width % 3 == 0 ? random() : 255U)));
      }
      if (pixels % 8 != 0) mask.bits.back() &= static_cast<uint8_t>((1U << (pixels % 8)) - 1U);
      RunLengthsFault fault{};
      const std::optional<MaskBits> decoded =
          decodeCompressedRunLengths(encodeCompressedRunLengths(mask), width, height, fault);
      ASSERT_TRUE(decoded) << width << "x" << height;
      ASSERT_EQ(decoded->bits, mask.bits) << width << "x" << height;
    }
  }
}

}  // namespace
}  // namespace seg_mask
