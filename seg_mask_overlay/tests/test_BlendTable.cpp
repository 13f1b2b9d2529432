#include <gtest/gtest.h>

#include <cstddef>
#include <limits>

#include "BlendTable.h"

namespace seg_mask_overlay {
namespace {

/// What the line makes of a byte, by BlendLine's words.
int onLine(const BlendLine& line, unsigned old) {
  const unsigned sum = (((old << 8) * line.slope) >> 16) + line.start;
  EXPECT_LE(sum, 65535U);
  return static_cast<int>(sum >> 8);
}

/// How many of the 256 colours have a line at this alpha. Each line found has to be the table.
int coloursWithLine(float alpha) {
  int found = 0;
  for (int color = 0; color < 256; ++color) {
    const BlendTable table = makeBlendTable(static_cast<unsigned char>(color), alpha);
    const std::optional<BlendLine> line = lineThrough(table, alpha);
    if (!line) continue;
    ++found;
    for (unsigned old = 0; old < 256; ++old) {
      EXPECT_EQ(onLine(*line, old), table[old])
          << "alpha " << alpha << ", colour " << color << ", old " << old;
    }
  }
  return found;
}

TEST(BlendTable, HoldsTheBlendOfEveryOldByte) {
  const BlendTable half = makeBlendTable(200, 0.5F);
  EXPECT_EQ(half[0], 100);
  EXPECT_EQ(half[1], 101);  // 100.5 and a half
  EXPECT_EQ(half[200], 200);
  EXPECT_EQ(half[255], 228);  // 227.5 and a half
  const BlendTable beyond = makeBlendTable(200, 2.0F);
  EXPECT_EQ(beyond[0], 255);    // 400
  EXPECT_EQ(beyond[255], 145);  // 400 - 255
}

TEST(BlendLine, EveryColourHasOneAtTheDefaultAlpha) {
  EXPECT_EQ(coloursWithLine(0.45F), 256);
}

TEST(BlendLine, EveryColourHasOneWhereNothingIsHalfAStep) {
  for (const float alpha : {0.0F, -0.0F, 1.0F, 0.5F, 0.25F, 1.0F / 3.0F, 0.999999F, 1e-39F}) {
    EXPECT_EQ(coloursWithLine(alpha), 256) << alpha;
  }
}

TEST(BlendLine, OnlyMostColoursHaveOneWhereHalvesAreRoundedByTurns) {
  const int found = coloursWithLine(0.85F);
  EXPECT_GT(found, 128);
  EXPECT_LT(found, 256);
}

TEST(BlendLine, AnAlphaOutside0To1HasNone) {
  using Limits = std::numeric_limits<float>;
  for (const float alpha :
       {-0.25F, 1.5F, 300.0F, Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
    EXPECT_EQ(coloursWithLine(alpha), 0) << alpha;
  }
}

}  // namespace
}  // namespace seg_mask_overlay
