#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "core/saturate.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/// What is compared is what the processor does, and processors differ out of range. A compiler that knew the
/// number would convert it by itself.
template <typename Integer>
Integer saturate(double value) {
  const volatile double unknown = value;
  return sw_number::saturate<Integer>(unknown);
}

float toSinglePrecision(double value) {
  const volatile double unknown = value;
  return sw_number::toSinglePrecision(unknown);
}

}  // namespace

TEST(Saturate, TruncatesTowardZeroStopsAtTheLimitsAndMakesNanZero) {
  EXPECT_EQ(saturate<int64_t>(2.9), 2);
  EXPECT_EQ(saturate<int64_t>(-2.9), -2);
  EXPECT_EQ(saturate<uint8_t>(255.9), 255);
  EXPECT_EQ(saturate<int64_t>(9223372036854775808.0), INT64_MAX);
  EXPECT_EQ(saturate<int64_t>(-9223372036854775808.0), INT64_MIN);
  EXPECT_EQ(saturate<int64_t>(9223372036854774784.0), 9223372036854774784);
  EXPECT_EQ(saturate<int64_t>(kInfinity), INT64_MAX);
  EXPECT_EQ(saturate<int64_t>(-kInfinity), INT64_MIN);
  EXPECT_EQ(saturate<int32_t>(2147483648.0), INT32_MAX);
  EXPECT_EQ(saturate<int32_t>(-2147483648.5), INT32_MIN);
  EXPECT_EQ(saturate<uint8_t>(256.0), 255);
  EXPECT_EQ(saturate<uint8_t>(-1.0), 0);
  EXPECT_EQ(saturate<int64_t>(kNan), 0);
}

TEST(LowBits, AreThe32LowestAsASignedNumber) {
  EXPECT_EQ(sw_number::lowBits(-7), -7);
  EXPECT_EQ(sw_number::lowBits(INT32_MAX), INT32_MAX);
  EXPECT_EQ(sw_number::lowBits(int64_t{INT32_MAX} + 1), INT32_MIN);
  EXPECT_EQ(sw_number::lowBits(0x1'0000'0005), 5);
  EXPECT_EQ(sw_number::lowBits(int64_t{INT32_MIN} - 1), INT32_MAX);
  EXPECT_EQ(sw_number::lowBits(INT64_MIN), 0);
  EXPECT_EQ(sw_number::lowBits(INT64_MAX), -1);
}

TEST(ToSinglePrecision, RoundsToTheNearestFloatAndBeyondTheRangeToInfinity) {
  EXPECT_EQ(toSinglePrecision(0.45), 0.45F);
  EXPECT_EQ(toSinglePrecision(-16777219.0), -16777220.0F);
  EXPECT_EQ(toSinglePrecision(0x1.000003p-127), 0x1.000004p-127F)
      << "three quarters between two subnormal floats";
  EXPECT_TRUE(std::signbit(toSinglePrecision(-0x1p-150)));
  EXPECT_TRUE(std::isnan(toSinglePrecision(kNan)));
  constexpr float kMax = std::numeric_limits<float>::max();
  constexpr float kInf = std::numeric_limits<float>::infinity();
  EXPECT_EQ(toSinglePrecision(1e300), kInf);
  EXPECT_EQ(toSinglePrecision(-kInfinity), -kInf);
  EXPECT_EQ(toSinglePrecision(0x1.fffffefp127), kMax) << "less than half a unit above the largest float";
  EXPECT_EQ(toSinglePrecision(-0x1.fffffefp127), -kMax);
  EXPECT_EQ(toSinglePrecision(0x1.ffffffp127), kInf) << "half a unit above";
}
