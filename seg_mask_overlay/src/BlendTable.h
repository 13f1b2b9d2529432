#pragma once

#include <array>
#include <cstdint>
#include <optional>

namespace seg_mask_overlay {

/// What each old byte becomes in a launch, whose colour and alpha are the same for all samples: blendByte of
/// all 256.
using BlendTable = std::array<uint8_t, 256>;

BlendTable makeBlendTable(unsigned char color, float alpha);

/// A straight line that is a BlendTable exactly: with 8 fraction bits, in 16-bit arithmetic as vector units
/// have it, old becomes ((((old << 8) * slope) >> 16) + start) >> 8. No sum exceeds 65535.
struct BlendLine {
  uint16_t slope;
  uint16_t start;
};

/// The line that gives all 256 bytes of `table`, which was made for `alpha`. Nothing when there is none: for
/// an alpha below 0 or above 1 or that is no number, and for a few colours of some others, where single
/// precision rounds old bytes that come to exactly half a step up and down by turns.
std::optional<BlendLine> lineThrough(const BlendTable& table, float alpha);

}  // namespace seg_mask_overlay
