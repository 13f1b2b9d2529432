#include "mask/mask_extent.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace seg_mask {
namespace {

constexpr std::size_t kWord = 64;  // pixels

/// The word that begins with the byte of pixel `at`.
uint64_t wordAt(const MaskView& mask, std::size_t at) {
  uint64_t word;
  std::memcpy(&word, mask.bits + at / 8, sizeof(word));
  return word;
}

/// The first pixel of [at, end) that is inside, or `end`.
std::size_t firstInside(const MaskView& mask, std::size_t at, std::size_t end) {
  while (at < end) {
    if (at % 8 == 0 && at + kWord <= end && wordAt(mask, at) == 0) {
      at += kWord;
      continue;
    }
    const unsigned rest = unsigned{mask.bits[at / 8]} >> (at % 8);
    if (rest != 0) return std::min(end, at + static_cast<std::size_t>(__builtin_ctz(rest)));
    at += 8 - at % 8;
  }
  return end;
}

/// The pixel behind the last one of [begin, end) that is inside, or `begin`.
std::size_t endInside(const MaskView& mask, std::size_t begin, std::size_t end) {
  while (end > begin) {
    if (end % 8 == 0 && end >= begin + kWord && wordAt(mask, end - kWord) == 0) {
      end -= kWord;
      continue;
    }
    const std::size_t byte = (end - 1) / 8;
    const unsigned rest = mask.bits[byte] & (0xFFU >> (7 - (end - 1) % 8));
    if (rest != 0) return std::max(begin, byte * 8 + 32 - static_cast<std::size_t>(__builtin_clz(rest)));
    end = byte * 8;
  }
  return begin;
}

/// Of the pixels [begin, end), of which the first is a byte's first.
uint64_t countInside(const MaskView& mask, std::size_t begin, std::size_t end) {
  uint64_t count = 0;
  for (; begin + kWord <= end; begin += kWord) {
    const uint64_t word = wordAt(mask, begin);
    if (word != 0) count += static_cast<unsigned>(__builtin_popcountll(word));
  }
  for (; begin < end; ++begin) count += mask.inside(begin) ? 1 : 0;
  return count;
}

}  // namespace

MaskExtent extentOf(const MaskView& mask) {
  const auto width = static_cast<std::size_t>(mask.width);
  const std::size_t pixels = width * static_cast<std::size_t>(mask.height);
  const std::size_t first = firstInside(mask, 0, pixels);
  if (first == pixels) return {};
  const std::size_t end = endInside(mask, first, pixels);
  const std::size_t top = first / width;
  const std::size_t bottom = (end - 1) / width;
  std::size_t left = width;
  std::size_t right = 0;
  for (std::size_t row = top; row <= bottom; ++row) {
    // Only what is left and right of the box so far can make it wider.
    const std::size_t begin = row * width;
    left = firstInside(mask, begin, begin + left) - begin;
    right = endInside(mask, begin + right, begin + width) - begin;
  }
  MaskExtent extent;
  extent.pixels = countInside(mask, first / 8 * 8, end);
  extent.x = static_cast<int>(left);
  extent.y = static_cast<int>(top);
  extent.w = static_cast<int>(right - left);
  extent.h = static_cast<int>(bottom + 1 - top);
  return extent;
}

}  // namespace seg_mask
