#include "mask/mask_extent.h"

#include <algorithm>
#include <cstddef>

namespace seg_mask {
namespace {

/// The first pixel of [at, end) that is inside, or `end`.
std::size_t firstInside(const MaskView& mask, std::size_t at, std::size_t end) {
  for (; at < end; at += 8 - at % 8) {
    const unsigned rest = unsigned{mask.bits[at / 8]} >> (at % 8);
    if (rest != 0) return std::min(end, at + static_cast<std::size_t>(__builtin_ctz(rest)));
  }
  return end;
}

/// The pixel behind the last one of [begin, end) that is inside, or `begin`.
std::size_t endInside(const MaskView& mask, std::size_t begin, std::size_t end) {
  while (end > begin) {
    const std::size_t byte = (end - 1) / 8;
    const unsigned rest = mask.bits[byte] & (0xFFU >> (7 - (end - 1) % 8));
    if (rest != 0) return std::max(begin, byte * 8 + 32 - static_cast<std::size_t>(__builtin_clz(rest)));
    end = byte * 8;
  }
  return begin;
}

uint64_t countInside(const MaskView& mask, std::size_t pixels) {
  uint64_t count = 0;
  for (std::size_t byte = 0; byte < pixels / 8; ++byte) {
    count += static_cast<unsigned>(__builtin_popcount(mask.bits[byte]));
  }
  if (pixels % 8 == 0) return count;
  return count + static_cast<unsigned>(__builtin_popcount(mask.bits[pixels / 8] & ((1U << pixels % 8) - 1)));
}

}  // namespace

MaskExtent extentOf(const MaskView& mask) {
  const auto width = static_cast<std::size_t>(mask.width);
  MaskExtent extent;
  extent.pixels = countInside(mask, width * static_cast<std::size_t>(mask.height));
  if (extent.pixels == 0) return extent;
  int left = mask.width;
  int right = 0;
  int top = mask.height;
  int bottom = 0;
  for (int row = 0; row < mask.height; ++row) {
    const std::size_t begin = width * static_cast<std::size_t>(row);
    const std::size_t first = firstInside(mask, begin, begin + width);
    if (first == begin + width) continue;
    left = std::min(left, static_cast<int>(first - begin));
    right = std::max(right, static_cast<int>(endInside(mask, begin, begin + width) - begin));
    top = std::min(top, row);
    bottom = row + 1;
  }
  extent.x = left;
  extent.y = top;
  extent.w = right - left;
  extent.h = bottom - top;
  return extent;
}

}  // namespace seg_mask
