#pragma once

#include <array>
#include <cstdint>
#include <optional>

namespace seg_mask_overlay {

/// What each old byte becomes in a launch, whose colour and alpha are the same for all samples: blendByte of
/// all 256.
using BlendTable = std::array<uint8_t, 256>;

BlendTable makeBlendTable(unsigned char color, float alpha);

/// A BlendTable as vector units can have it: a straight line with 8 fraction bits in 16-bit arithmetic, and
/// the bytes at which the table is one above the line. old becomes
///   (((((old << 8) * slope) >> 16) + start) >> 8) + (bit old % 8 of raised[old / 8]),
/// and no sum exceeds 65535. Most tables have no raised byte; those of a weight like 0.1 have some, where the
/// blend comes to exactly half a step and single precision goes up and down by turns.
struct BlendLine {
  uint16_t slope;
  uint16_t start;
  std::array<uint8_t, 32> raised;

  bool isRaised() const { return raised != std::array<uint8_t, 32>(); }
};

/// The line that gives all 256 bytes of `table`, which was made for `alpha`. Nothing if there is none, which
/// is so for an alpha below 0 or above 1 or that is no number: for those the table is bent.
std::optional<BlendLine> lineUnder(const BlendTable& table, float alpha);

}  // namespace seg_mask_overlay
