#include <gtest/gtest.h>

#include <cmath>

#include "overlay_config.h"

namespace seg_mask_overlay {
namespace {

bool changesNothing(const std::string& json) {
  const ConfigUpdate update = parseConfig(json);
  return !update.alpha && !update.min_score && !update.max_overlay_dets;
}

std::optional<float> alphaOf(const std::string& value) {
  return parseConfig("{\"alpha\": " + value + "}").alpha;
}

std::optional<int32_t> detsOf(const std::string& value) {
  return parseConfig("{\"max_overlay_dets\": " + value + "}").max_overlay_dets;
}

TEST(OverlayConfig, TheEmptyObjectAnArrayTheEmptyTextAndALoneBraceChangeNothing) {
  EXPECT_TRUE(changesNothing("{}"));
  EXPECT_TRUE(changesNothing("[1,2]"));
  EXPECT_TRUE(changesNothing(""));
  EXPECT_TRUE(changesNothing("{"));
}

TEST(OverlayConfig, RootsOfOtherKindsChangeNothing) {
  for (const char* text : {"\"alpha\"", "1", "0.5", "true", "null"})
    EXPECT_TRUE(changesNothing(text)) << text;
}

TEST(OverlayConfig, AlphaIsClampedTo0And1) {
  EXPECT_EQ(alphaOf("2"), 1.0F);
  EXPECT_EQ(alphaOf("-0.5"), 0.0F);
  EXPECT_EQ(alphaOf("1e300"), 1.0F);
  EXPECT_EQ(alphaOf("0.25"), 0.25F);
  EXPECT_EQ(alphaOf("0.9999999999"), 1.0F);  // narrowed after the clamp
}

TEST(OverlayConfig, AlphaTrueIs1AndFalseIs0) {
  EXPECT_EQ(alphaOf("true"), 1.0F);
  EXPECT_EQ(alphaOf("false"), 0.0F);
}

TEST(OverlayConfig, AlphaAsATextIsReadAndAbcIsIgnored) {
  EXPECT_EQ(alphaOf("\"0.25\""), 0.25F);
  EXPECT_EQ(alphaOf("\" 0.25 and more\""), 0.25F);
  EXPECT_EQ(alphaOf("\"0x1p-2\""), 0.25F);
  EXPECT_EQ(alphaOf("\"abc\""), std::nullopt);
  EXPECT_EQ(alphaOf("\"\""), std::nullopt);
  EXPECT_EQ(alphaOf("\"1e999\""), std::nullopt);
}

TEST(OverlayConfig, TheTextNanSets1AndNegativeZeroBecomesZero) {
  EXPECT_EQ(alphaOf("\"nan\""), 1.0F);
  EXPECT_EQ(alphaOf("\"inf\""), 1.0F);
  EXPECT_EQ(alphaOf("\"-inf\""), 0.0F);
  const std::optional<float> zero = alphaOf("-0.0");
  ASSERT_EQ(zero, 0.0F);
  EXPECT_FALSE(std::signbit(*zero));
}

TEST(OverlayConfig, AlphaOfNullArrayOrObjectIsIgnoredAndTheOthersApply) {
  for (const char* value : {"null", "[0.5]", "{}"}) EXPECT_EQ(alphaOf(value), std::nullopt) << value;
  const ConfigUpdate update = parseConfig("{\"alpha\": null, \"min_score\": 0.5, \"max_overlay_dets\": 7}");
  EXPECT_EQ(update.alpha, std::nullopt);
  EXPECT_EQ(update.min_score, 0.5F);
  EXPECT_EQ(update.max_overlay_dets, 7);
}

TEST(OverlayConfig, MinScoreFollowedByXChangesNothingAndByBlanksItApplies) {
  EXPECT_TRUE(changesNothing("{\"min_score\": 0.3}x"));
  EXPECT_TRUE(changesNothing("{\"min_score\": 0.3} {}"));
  EXPECT_EQ(parseConfig("{\"min_score\": 0.3}  \n").min_score, 0.3F);
  EXPECT_EQ(parseConfig(" \v\f\r\t\n{\"min_score\": 0.3}\v\f").min_score, 0.3F);
}

TEST(OverlayConfig, MaxOverlayDetsIsClamped) {
  EXPECT_EQ(detsOf("0"), 1);
  EXPECT_EQ(detsOf("-7"), 1);
  EXPECT_EQ(detsOf("10000"), 4096);
  EXPECT_EQ(detsOf("4096"), 4096);
}

TEST(OverlayConfig, MaxOverlayDetsIntegersCountByTheirLow32Bits) {
  EXPECT_EQ(detsOf("4294967297"), 1);
  EXPECT_EQ(detsOf("4294971392"), 4096);
  EXPECT_EQ(detsOf("4294967306"), 10);
  EXPECT_EQ(detsOf("2147483648"), 1);  // the smallest 32-bit number
}

TEST(OverlayConfig, MaxOverlayDetsOf12Point7Is12) {
  EXPECT_EQ(detsOf("12.7"), 12);
  EXPECT_EQ(detsOf("0.7"), 1);
  EXPECT_EQ(detsOf("-12.7"), 1);
  EXPECT_EQ(detsOf("4294967306.5"), 4096);  // saturates, unlike a whole number
}

TEST(OverlayConfig, MaxOverlayDetsAsAWholeFloatingValueCountsLikeAnInteger) {
  EXPECT_EQ(detsOf("12.0"), 12);
  EXPECT_EQ(detsOf("4294967306.0"), 10);
  EXPECT_EQ(detsOf("1e300"), 1);   // saturates at 64 bits, whose low bits are -1
  EXPECT_EQ(detsOf("-1e300"), 1);  // and 0
}

TEST(OverlayConfig, MaxOverlayDetsOfAnyOtherKindIs1) {
  for (const char* value : {"\"12\"", "\"100\"", "null", "true", "[5]", "{}"})
    EXPECT_EQ(detsOf(value), 1) << value;
}

TEST(OverlayConfig, UnknownKeysAndOtherCasesAreIgnored) {
  EXPECT_TRUE(changesNothing("{\"Alpha\": 0.5, \"beta\": 1, \"nested\": {\"alpha\": 0.5}}"));
}

TEST(OverlayConfig, OfEqualKeysTheLastCounts) {
  EXPECT_EQ(parseConfig("{\"alpha\": 0.25, \"alpha\": 0.5}").alpha, 0.5F);
}

}  // namespace
}  // namespace seg_mask_overlay
