#include <gtest/gtest.h>

#include <cmath>

#include "render_base/settings.h"

namespace render_base {
namespace {

constexpr NumberSetting kAlpha{"alpha", 0.0F, 1.0F, 0.45F};
constexpr NumberSetting kOther{"min_score", 0.0F, 1.0F, 0.0F};
constexpr IntegerSetting kDets{"max_overlay_dets", 1, 4096, 256};

/// No configured value; the range would not let it through.
constexpr float kUnset = -9.0F;
constexpr int32_t kUnsetInteger = -9;

bool changesNothing(const std::string& json) {
  const std::optional<SwJsonObject> configuration = parseConfiguration(json);
  return !configuration || (readNumber(*configuration, kAlpha, kUnset) == kUnset &&
                            readNumber(*configuration, kOther, kUnset) == kUnset &&
                            readInteger(*configuration, kDets, kUnsetInteger) == kUnsetInteger);
}

float numberOf(const NumberSetting& setting, const std::string& json) {
  return readNumber(parseConfiguration(json).value(), setting, kUnset);
}

float alphaOf(const std::string& value) {
  return numberOf(kAlpha, "{\"alpha\": " + value + "}");
}

int32_t detsOf(const std::string& value) {
  return readInteger(parseConfiguration("{\"max_overlay_dets\": " + value + "}").value(), kDets,
                     kUnsetInteger);
}

TEST(Settings, TheEmptyObjectAnArrayTheEmptyTextAndALoneBraceChangeNothing) {
  EXPECT_TRUE(changesNothing("{}"));
  EXPECT_TRUE(changesNothing("[1,2]"));
  EXPECT_TRUE(changesNothing(""));
  EXPECT_TRUE(changesNothing(" "));
  EXPECT_TRUE(changesNothing("{"));
  EXPECT_TRUE(changesNothing("{\"alpha\": 1"));
}

TEST(Settings, RootsOfOtherKindsChangeNothing) {
  for (const char* text : {"\"alpha\"", "1", "0.5", "true", "null"})
    EXPECT_TRUE(changesNothing(text)) << text;
}

TEST(Settings, ANumberIsClampedToTheRangeOfItsSetting) {
  constexpr NumberSetting wide{"alpha", -2.0F, 3.0F, 0.0F};
  EXPECT_EQ(numberOf(wide, "{\"alpha\": -2.5}"), -2.0F);
  EXPECT_EQ(numberOf(wide, "{\"alpha\": 2.5}"), 2.5F);
  EXPECT_EQ(numberOf(wide, "{\"alpha\": 3.5}"), 3.0F);
  EXPECT_EQ(numberOf(wide, "{\"alpha\": \"nan\"}"), 3.0F);
}

TEST(Settings, AlphaIsClampedTo0And1) {
  EXPECT_EQ(alphaOf("2"), 1.0F);
  EXPECT_EQ(alphaOf("-0.5"), 0.0F);
  EXPECT_EQ(alphaOf("1e300"), 1.0F);
  EXPECT_EQ(alphaOf("0.25"), 0.25F);
  EXPECT_EQ(alphaOf("0.9999999999"), 1.0F);  // narrowed after the clamp
}

TEST(Settings, AlphaTrueIs1AndFalseIs0) {
  EXPECT_EQ(alphaOf("true"), 1.0F);
  EXPECT_EQ(alphaOf("false"), 0.0F);
}

TEST(Settings, AlphaAsATextIsReadAndAbcIsIgnored) {
  EXPECT_EQ(alphaOf("\"0.25\""), 0.25F);
  EXPECT_EQ(alphaOf("\" 0.25 and more\""), 0.25F);
  EXPECT_EQ(alphaOf("\"0x1p-2\""), 0.25F);
  EXPECT_EQ(alphaOf("\"abc\""), kUnset);
  EXPECT_EQ(alphaOf("\"\""), kUnset);
  EXPECT_EQ(alphaOf("\"1e999\""), kUnset);
}

TEST(Settings, TheTextNanSets1AndNegativeZeroBecomesZero) {
  EXPECT_EQ(alphaOf("\"nan\""), 1.0F);
  EXPECT_EQ(alphaOf("\"inf\""), 1.0F);
  EXPECT_EQ(alphaOf("\"-inf\""), 0.0F);
  const float zero = alphaOf("-0.0");
  EXPECT_EQ(zero, 0.0F);
  EXPECT_FALSE(std::signbit(zero));
}

TEST(Settings, AlphaOfNullArrayOrObjectIsIgnoredAndTheOthersApply) {
  for (const char* value : {"null", "[0.5]", "{}"}) EXPECT_EQ(alphaOf(value), kUnset) << value;
  const SwJsonObject configuration =
      parseConfiguration("{\"alpha\": null, \"min_score\": 0.5, \"max_overlay_dets\": 7}").value();
  EXPECT_EQ(readNumber(configuration, kAlpha, kUnset), kUnset);
  EXPECT_EQ(readNumber(configuration, kOther, kUnset), 0.5F);
  EXPECT_EQ(readInteger(configuration, kDets, kUnsetInteger), 7);
}

TEST(Settings, MinScoreFollowedByXChangesNothingAndByBlanksItApplies) {
  EXPECT_TRUE(changesNothing("{\"min_score\": 0.3}x"));
  EXPECT_TRUE(changesNothing("{\"min_score\": 0.3} {}"));
  EXPECT_EQ(numberOf(kOther, "{\"min_score\": 0.3}  \n"), 0.3F);
  EXPECT_EQ(numberOf(kOther, " \v\f\r\t\n{\"min_score\": 0.3}\v\f"), 0.3F);
}

TEST(Settings, MaxOverlayDetsIsClamped) {
  EXPECT_EQ(detsOf("0"), 1);
  EXPECT_EQ(detsOf("-7"), 1);
  EXPECT_EQ(detsOf("10000"), 4096);
  EXPECT_EQ(detsOf("4096"), 4096);
}

TEST(Settings, MaxOverlayDetsIntegersCountByTheirLow32Bits) {
  EXPECT_EQ(detsOf("4294967297"), 1);
  EXPECT_EQ(detsOf("4294971392"), 4096);
  EXPECT_EQ(detsOf("4294967306"), 10);
  EXPECT_EQ(detsOf("2147483648"), 1);  // the smallest 32-bit number
}

TEST(Settings, MaxOverlayDetsOf12Point7Is12) {
  EXPECT_EQ(detsOf("12.7"), 12);
  EXPECT_EQ(detsOf("0.7"), 1);
  EXPECT_EQ(detsOf("-12.7"), 1);
  EXPECT_EQ(detsOf("4294967306.5"), 4096);  // saturates, unlike a whole number
}

TEST(Settings, MaxOverlayDetsAsAWholeFloatingValueCountsLikeAnInteger) {
  EXPECT_EQ(detsOf("12.0"), 12);
  EXPECT_EQ(detsOf("4294967306.0"), 10);
  EXPECT_EQ(detsOf("1e300"), 1);   // saturates at 64 bits, whose low bits are -1
  EXPECT_EQ(detsOf("-1e300"), 1);  // and 0
}

TEST(Settings, MaxOverlayDetsOfAnyOtherKindIs1) {
  for (const char* value : {"\"12\"", "\"100\"", "null", "true", "[5]", "{}"})
    EXPECT_EQ(detsOf(value), 1) << value;
}

TEST(Settings, UnknownKeysAndOtherCasesAreIgnored) {
  EXPECT_TRUE(changesNothing("{\"Alpha\": 0.5, \"beta\": 1, \"nested\": {\"alpha\": 0.5}}"));
}

TEST(Settings, OfEqualKeysTheLastCounts) {
  EXPECT_EQ(numberOf(kAlpha, "{\"alpha\": 0.25, \"alpha\": 0.5}"), 0.5F);
}

}  // namespace
}  // namespace render_base
