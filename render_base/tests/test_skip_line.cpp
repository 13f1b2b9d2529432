#include <gtest/gtest.h>

#include <limits>

#include "render_base/skip_line.h"

namespace render_base {
namespace {

constexpr uint64_t kNever = std::numeric_limits<uint64_t>::max();

TEST(SkipLine, TheFirstFrameOfARunEveryNthAndOneWhoseTimeHasComeAreDue) {
  for (const uint64_t due : {1U, 60U, 120U}) EXPECT_TRUE(isSkipLineDue({due, 60, kNever}, 0)) << due;
  for (const uint64_t notDue : {2U, 59U, 61U}) EXPECT_FALSE(isSkipLineDue({notDue, 60, kNever}, 0)) << notDue;
  EXPECT_FALSE(isSkipLineDue({60, 0, kNever}, 0)) << "no frame is the 0th";
  EXPECT_FALSE(isSkipLineDue({2, 60, 1000}, 999));
  EXPECT_TRUE(isSkipLineDue({2, 60, 1000}, 1000));
  EXPECT_TRUE(isSkipLineDue({2, 60, 1000}, 1001));
}

TEST(SkipLine, ItNamesTheFrameAndTheCountsInDecimal) {
  EXPECT_EQ(skipLine("SegMask", {1042, 2, 0}),
            "[SegMask][Fallback] frame=1042 decision=skip providers_missing=2 providers_using_lookback=0");
  EXPECT_EQ(skipLine("X", {kNever, 0, kNever}),
            "[X][Fallback] frame=18446744073709551615 decision=skip providers_missing=0 "
            "providers_using_lookback=18446744073709551615");
}

}  // namespace
}  // namespace render_base
