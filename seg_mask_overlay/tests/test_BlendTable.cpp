#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <random>

#include "blend/BlendTable.h"

namespace seg_mask_overlay {
namespace {

/// What the fit makes of a byte, by BlendFit's words.
int byFit(const BlendFit& fit, unsigned old) {
  const unsigned sum = (((old << 8) * fit.slope) >> 16) + fit.start;
  EXPECT_LE(sum, 65535U);
  return static_cast<int>(sum >> 8) + (fit.corrections[old / 8] >> old % 8 & 1);
}

/// Which of the 256 colours have a fit at this alpha, and whose fits have corrections. Each fit has
/// to be the table.
struct Fits {
  int all = 0;
  int corrected = 0;
};

Fits fitsAt(float alpha) {
  Fits found;
  for (int color = 0; color < 256; ++color) {
    const BlendTable table = makeBlendTable(static_cast<unsigned char>(color), alpha);
    const std::optional<BlendFit> fit = fitTable(table, alpha);
    if (!fit) continue;
    ++found.all;
    EXPECT_EQ(fit->hasCorrections, (fit->corrections != std::array<uint8_t, 32>()));
    if (fit->hasCorrections) ++found.corrected;
    for (unsigned old = 0; old < 256; ++old) {
      EXPECT_EQ(byFit(*fit, old), table[old]) << "alpha " << alpha << ", colour " << color << ", old " << old;
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

TEST(BlendFit, IsTheWholeTableWhereNothingIsHalfAStep) {
  for (const float alpha : {0.45F, 0.0F, -0.0F, 1.0F, 0.5F, 0.25F, 1.0F / 3.0F, 0.999999F, 1e-39F}) {
    const Fits fits = fitsAt(alpha);
    EXPECT_EQ(fits.all, 256) << alpha;
    EXPECT_EQ(fits.corrected, 0) << alpha;
  }
}

TEST(BlendFit, HasCorrectionsWhereHalvesAreRoundedUpAndDown) {
  for (const float alpha : {0.1F, 0.35F, 0.85F}) {
    const Fits fits = fitsAt(alpha);
    EXPECT_EQ(fits.all, 256) << alpha;
    EXPECT_GT(fits.corrected, 0) << alpha;
    EXPECT_LT(fits.corrected, 256) << alpha;
  }
}

TEST(BlendFit, EveryColourHasOneAtEveryAlphaThatAConfigurationCanHold) {
  std::mt19937 random(1);
  for (int i = 0; i <= 200; ++i) EXPECT_EQ(fitsAt(static_cast<float>(i) / 200.0F).all, 256) << i;
  for (int i = 0; i < 200; ++i) {
    const float alpha = std::generate_canonical<float, 24>(random);
    EXPECT_EQ(fitsAt(alpha).all, 256) << alpha;
  }
}

TEST(BlendFit, AnAlphaOutside0To1HasNone) {
  using Limits = std::numeric_limits<float>;
  for (const float alpha :
       {-0.25F, 1.5F, 300.0F, Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
    EXPECT_EQ(fitsAt(alpha).all, 0) << alpha;
  }
}

}  // namespace
}  // namespace seg_mask_overlay
