#include "src/ColumnEdges.h"

#include <cstring>
#include <utility>

namespace seg_mask {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "a word's lowest bit is its first pixel");

constexpr std::size_t kWordBits = 64;

std::size_t pixelsOf(int width, int height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

/// The pixels moved to later ones; those that leave the word are dropped.
uint64_t moved(uint64_t word, std::size_t by) {
  return (word & (~uint64_t{0} >> by)) << by;
}

}  // namespace

ColumnEdges::ColumnEdges(int width, int height)
    : width_(width),
      height_(height),
      bits_((pixelsOf(width, height) + kWordBits - 1) / kWordBits * sizeof(uint64_t)) {}

void ColumnEdges::toggle(int column, int row) {
  if (row == height_) return;
  const std::size_t pixel = pixelsOf(width_, row) + static_cast<std::size_t>(column);
  bits_[pixel / 8] = static_cast<uint8_t>(bits_[pixel / 8] ^ (1U << (pixel % 8)));
}

MaskBits ColumnEdges::fill() && {
  const auto width = static_cast<std::size_t>(width_);
  for (std::size_t number = 0; number < bits_.size() / sizeof(uint64_t); ++number) {
    // A pixel differs from the one above it where there is an edge.
    uint64_t filled = word(number) ^ wordOneRowUp(number);
    // The rows within one word: after each step a bit has the edges of twice as many rows.
    for (std::size_t shift = width; shift < kWordBits; shift *= 2) filled ^= moved(filled, shift);
    std::memcpy(bits_.data() + number * sizeof(filled), &filled, sizeof(filled));
  }
  const std::size_t pixels = pixelsOf(width_, height_);
  bits_.resize((pixels + 7) / 8);
  // Below the last row the fill has run on. Without those bits equal masks have equal texts.
  if (pixels % 8 != 0) bits_.back() = static_cast<uint8_t>(bits_.back() & ((1U << (pixels % 8)) - 1U));
  return {width_, height_, std::move(bits_)};
}

uint64_t ColumnEdges::word(std::size_t number) const {
  uint64_t bits;
  std::memcpy(&bits, bits_.data() + number * sizeof(bits), sizeof(bits));
  return bits;
}

/// The filled pixels one row above those of a word, as far as they are in earlier words.
uint64_t ColumnEdges::wordOneRowUp(std::size_t number) const {
  const auto width = static_cast<std::size_t>(width_);
  const std::size_t first = number * kWordBits;
  if (number == 0 || first + kWordBits <= width) return 0;
  if (first < width) return moved(word(0), width - first);
  if (width < kWordBits) return word(number - 1) >> (kWordBits - width);
  const std::size_t above = (first - width) / kWordBits;
  const std::size_t bit = (first - width) % kWordBits;
  return bit == 0 ? word(above) : (word(above) >> bit) | moved(word(above + 1), kWordBits - bit);
}

}  // namespace seg_mask
