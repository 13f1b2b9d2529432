#pragma once

#include <array>
#include <cstdint>
#include <optional>

namespace seg_mask_overlay {

/// The result of blendByte for each of the 256 old bytes. Colour and alpha are the same for all samples of a
/// launch.
using BlendTable = std::array<uint8_t, 256>;

BlendTable makeBlendTable(unsigned char color, float alpha);

/// A fixed-point fit of a BlendTable, which SIMD code can evaluate: a straight line with 8 fraction bits in
/// 16-bit arithmetic, and corrections, one bit an old byte, where the table is one above the line. old
/// becomes
///   (((((old << 8) * slope) >> 16) + start) >> 8) + (bit old % 8 of corrections[old / 8]),
/// and no sum exceeds 65535. Most tables need no correction. Those of a weight like 0.1 do: there the exact
/// result lies halfway between two bytes, and single precision rounds some of these results up and some down.
struct BlendFit {
  uint16_t slope;
  uint16_t start;
  std::array<uint8_t, 32> corrections;
  bool hasCorrections;  ///< whether any bit of them is set
};

/// The fit that gives all 256 bytes of `table`, which was made for `alpha`. Nothing if there is none: for an
/// alpha below 0, above 1 or NaN the table is clamped at its ends and no straight line.
std::optional<BlendFit> fitTable(const BlendTable& table, float alpha);

}  // namespace seg_mask_overlay
