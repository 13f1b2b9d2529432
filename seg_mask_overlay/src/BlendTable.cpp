#include "BlendTable.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "nv12_blend.h"

namespace seg_mask_overlay {
namespace {

constexpr int kHighestSum = 65535;

/// What the line adds to its start for a byte.
int riseAt(uint32_t old, uint32_t slope) {
  return static_cast<int>(((old << 8) * slope) >> 16);
}

}  // namespace

BlendTable makeBlendTable(unsigned char color, float alpha) {
  BlendTable table;
  for (std::size_t old = 0; old < table.size(); ++old) {
    table[old] = blendByte(static_cast<unsigned char>(old), color, alpha);
  }
  return table;
}

std::optional<BlendLine> lineUnder(const BlendTable& table, float alpha) {
  if (!(alpha >= 0.0F && alpha <= 1.0F)) return std::nullopt;
  const auto slope = static_cast<uint16_t>(std::min(65535L, std::lround((1.0F - alpha) * 65536.0F)));

  // The highest line that is nowhere above the table. It lies less than one below.
  int start = kHighestSum;
  for (uint32_t old = 0; old < 256; ++old) {
    start = std::min(start, 256 * table[old] + 255 - riseAt(old, slope));
  }
  if (start < 0) return std::nullopt;

  std::array<uint8_t, 256> missing;
  for (uint32_t old = 0; old < 256; ++old) {
    missing[old] = static_cast<uint8_t>(table[old] - ((riseAt(old, slope) + start) >> 8));
  }
  BlendLine line{slope, static_cast<uint16_t>(start), {}};
  for (std::size_t old = 0; old < 256; ++old) {
    if (missing[old] > 1) return std::nullopt;
    line.raised[old / 8] = static_cast<uint8_t>(line.raised[old / 8] | missing[old] << old % 8);
  }
  return line;
}

}  // namespace seg_mask_overlay
