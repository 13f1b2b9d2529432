#include <gtest/gtest.h>

#include "src/report/RunReport.h"

namespace segmask {
namespace {

TEST(RunReport, CountsTheFirstKeysOneByOneAndAllOthersTogether) {
  CountsByKey<int32_t> classes;
  const auto most = static_cast<int32_t>(CountsByKey<int32_t>::kMost);
  for (int32_t round = 0; round < 2; ++round) {
    for (int32_t number = 0; number < most + 5; ++number) classes.add(number, round == 0);
  }
  ASSERT_EQ(classes.counts().size(), CountsByKey<int32_t>::kMost);
  EXPECT_EQ(classes.counts().at(most - 1).drawn, 1U);
  EXPECT_EQ(classes.counts().at(most - 1).dropped, 1U);
  EXPECT_EQ(classes.others().drawn, 5U);
  EXPECT_EQ(classes.others().dropped, 5U);
}

}  // namespace
}  // namespace segmask
