#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <limits>

#include "core/number_text.h"

namespace {

double valueOf(const std::string& text) {
  double value = -77.0;
  EXPECT_TRUE(sw_number::toDouble(text, value)) << text;
  return value;
}

}  // namespace

TEST(NumberText, AcceptsWhatStodAcceptsAndIgnoresTrailingBytes) {
  EXPECT_EQ(valueOf("0.25"), 0.25);
  EXPECT_EQ(valueOf(" \t\n\v\f\r+1.5"), 1.5);
  EXPECT_EQ(valueOf("-.5e1"), -5.0);
  EXPECT_EQ(valueOf("0x1p4"), 16.0);
  EXPECT_EQ(valueOf("-inf"), -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(valueOf("nan")));
  EXPECT_EQ(valueOf("2.5abc"), 2.5);
  EXPECT_EQ(valueOf("1,5"), 1.0);
  EXPECT_EQ(valueOf(std::string("3\000"
                                "4",
                                3)),
            3.0);
}

TEST(NumberText, RefusesTextWithoutANumberAndMagnitudesOutOfRangeSubnormalsIncluded) {
  for (const char* text :
       {"", " ", "abc", "+", ".", "e5", "--1", "1e400", "-1e400", "1e-400", "4.9e-324", "1e-310"}) {
    double value = -77.0;
    EXPECT_FALSE(sw_number::toDouble(text, value)) << text;
    EXPECT_EQ(value, -77.0) << text;
  }
  EXPECT_EQ(valueOf("2.2250738585072014e-308"), std::numeric_limits<double>::min());
  EXPECT_EQ(valueOf("0e-400"), 0.0);
}

TEST(NumberText, LeavesErrnoAlone) {
  double value = 0.0;
  errno = EINTR;
  EXPECT_FALSE(sw_number::toDouble("1e400", value));
  EXPECT_EQ(errno, EINTR);
  errno = ERANGE;
  EXPECT_TRUE(sw_number::toDouble("1", value));
  EXPECT_EQ(errno, ERANGE);
}
