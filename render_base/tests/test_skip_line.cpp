#include <gtest/gtest.h>

#include <limits>

#include "render_base/skip_line.h"

namespace render_base {
namespace {

constexpr uint64_t kNever = std::numeric_limits<uint64_t>::max();

TEST(SkipLine, TheFirstFrameOfARunIsDueAndTheSecondIsNot) {
  EXPECT_TRUE(isSkipLineDue({1, 60, kNever}, 0));
  EXPECT_FALSE(isSkipLineDue({2, 60, kNever}, 0));
}

TEST(SkipLine, EveryNthFrameIsDueUnlessNIs0) {
  EXPECT_FALSE(isSkipLineDue({59, 60, kNever}, 0));
  EXPECT_TRUE(isSkipLineDue({60, 60, kNever}, 0));
  EXPECT_FALSE(isSkipLineDue({61, 60, kNever}, 0));
  EXPECT_TRUE(isSkipLineDue({120, 60, kNever}, 0));
  EXPECT_FALSE(isSkipLineDue({60, 0, kNever}, 0));
}

TEST(SkipLine, ALineIsDueOnTimeFromItsNanosecondOn) {
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
