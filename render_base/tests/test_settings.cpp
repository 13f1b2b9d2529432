#include <gtest/gtest.h>

#include <cmath>
#include <utility>

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

TEST(Settings, WhatIsNoObjectOrHasOtherKeysChangesNothing) {
  for (const char* text : {"{}", "[1,2]", "", " ", "{", "{\"alpha\": 1", "\"alpha\"", "1", "0.5", "true",
                           "null", "{\"min_score\": 0.3}x", "{\"min_score\": 0.3} {}",
                           "{\"Alpha\": 0.5, \"beta\": 1, \"nested\": {\"alpha\": 0.5}}"}) {
    EXPECT_TRUE(changesNothing(text)) << text;
  }
}

TEST(Settings, BlanksAroundTheObjectDoNotCountAndOfEqualKeysTheLastDoes) {
  EXPECT_EQ(numberOf(kOther, "{\"min_score\": 0.3}  \n"), 0.3F);
  EXPECT_EQ(numberOf(kOther, " \v\f\r\t\n{\"min_score\": 0.3}\v\f"), 0.3F);
  EXPECT_EQ(numberOf(kAlpha, "{\"alpha\": 0.25, \"alpha\": 0.5}"), 0.5F);
}

TEST(Settings, ANumberIsClampedToTheRangeOfItsSetting) {
  constexpr NumberSetting wide{"alpha", -2.0F, 3.0F, 0.0F};
  EXPECT_EQ(numberOf(wide, "{\"alpha\": -2.5}"), -2.0F);
  EXPECT_EQ(numberOf(wide, "{\"alpha\": 2.5}"), 2.5F);
  EXPECT_EQ(numberOf(wide, "{\"alpha\": 3.5}"), 3.0F);
  EXPECT_EQ(numberOf(wide, "{\"alpha\": \"nan\"}"), 3.0F);
}

TEST(Settings, ANumberMayBeANumberABooleanOrATextAndOtherKindsAreIgnored) {
  const std::pair<const char*, float> cases[] = {
      {"2", 1.0F},       {"-0.5", 0.0F},        {"1e300", 1.0F},     {"0.25", 0.25F},
      {"true", 1.0F},    {"false", 0.0F},       {"\"0.25\"", 0.25F}, {"\"0x1p-2\"", 0.25F},
      {"\"nan\"", 1.0F}, {"\"inf\"", 1.0F},     {"\"-inf\"", 0.0F},  {"\"abc\"", kUnset},
      {"\"\"", kUnset},  {"\"1e999\"", kUnset}, {"null", kUnset},    {"[0.5]", kUnset},
      {"{}", kUnset},    {"-0.0", 0.0F}};
  for (const auto& [value, alpha] : cases) EXPECT_EQ(alphaOf(value), alpha) << value;
  EXPECT_EQ(alphaOf("0.9999999999"), 1.0F) << "narrowed after the clamp";
  EXPECT_EQ(alphaOf("\" 0.25 and more\""), 0.25F);
  EXPECT_FALSE(std::signbit(alphaOf("-0.0")));
  const SwJsonObject configuration =
      parseConfiguration("{\"alpha\": null, \"min_score\": 0.5, \"max_overlay_dets\": 7}").value();
  EXPECT_EQ(readNumber(configuration, kAlpha, kUnset), kUnset) << "and the others apply";
  EXPECT_EQ(readNumber(configuration, kOther, kUnset), 0.5F);
  EXPECT_EQ(readInteger(configuration, kDets, kUnsetInteger), 7);
}

TEST(Settings, AnIntegerCountsByItsLow32BitsAFractionIsCutAndOtherKindsAreTheLeast) {
  const std::pair<const char*, int32_t> cases[] = {
      {"0", 1},           {"-7", 1},
      {"10000", 4096},    {"4096", 4096},
      {"4294967297", 1},  {"4294971392", 4096},
      {"4294967306", 10}, {"2147483648", 1},  // the smallest 32-bit number
      {"12.7", 12},       {"0.7", 1},
      {"-12.7", 1},       {"4294967306.5", 4096},  // saturates, unlike a whole number
      {"12.0", 12},       {"4294967306.0", 10},
      {"1e300", 1},       {"-1e300", 1},  // at 64 bits, whose low bits are -1 and 0
      {"\"12\"", 1},      {"\"100\"", 1},
      {"null", 1},        {"true", 1},
      {"[5]", 1},         {"{}", 1}};
  for (const auto& [value, number] : cases) EXPECT_EQ(detsOf(value), number) << value;
}

}  // namespace
}  // namespace render_base
