#include "BlendTable.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "nv12_blend.h"

namespace seg_mask_overlay {
namespace {

// Rounding bends the best line a little away from 1 - alpha; farther off, hardly any is found.
constexpr int kSlopesAside = 4;

/// The lowest start with which the slope gives the whole table.
std::optional<uint16_t> startFor(const BlendTable& table, uint32_t slope) {
  int lowest = 0;
  int highest = 65535;
  for (uint32_t old = 0; old < 256; ++old) {
    const int product = static_cast<int>(((old << 8) * slope) >> 16);
    const int wanted = table[old] << 8;
    lowest = std::max(lowest, wanted - product);
    highest = std::min(highest, wanted + 255 - product);
  }
  if (lowest > highest) return std::nullopt;
  return static_cast<uint16_t>(lowest);
}

}  // namespace

BlendTable makeBlendTable(unsigned char color, float alpha) {
  BlendTable table;
  for (std::size_t old = 0; old < table.size(); ++old) {
    table[old] = blendByte(static_cast<unsigned char>(old), color, alpha);
  }
  return table;
}

std::optional<BlendLine> lineThrough(const BlendTable& table, float alpha) {
  if (!(alpha >= 0.0F && alpha <= 1.0F)) return std::nullopt;
  const int middle = static_cast<int>(std::lround((1.0F - alpha) * 65536.0F));
  for (int aside = 0; aside <= kSlopesAside; ++aside) {
    for (const int slope : {middle - aside, middle + aside}) {
      if (slope < 0 || slope > 65535) continue;
      if (const std::optional<uint16_t> start = startFor(table, static_cast<uint32_t>(slope))) {
        return BlendLine{static_cast<uint16_t>(slope), *start};
      }
    }
  }
  return std::nullopt;
}

}  // namespace seg_mask_overlay
