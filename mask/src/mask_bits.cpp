#include "mask/mask_bits.h"

#include <cstring>

namespace seg_mask {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "a word's lowest byte is its first pixel");

/// Eight pixels as the bits of one byte, the first pixel lowest. By shifts: a multiplication would do it too,
/// but wraps around.
unsigned packEight(const unsigned char* pixels) {
  constexpr uint64_t kLow = 0x7F7F7F7F7F7F7F7FU;
  uint64_t word;
  std::memcpy(&word, pixels, sizeof(word));
  word = (((word & kLow) + kLow) | word) & ~kLow;  // the highest bit of each byte that is not 0
  word |= word >> 7;                               // joins the bits of two neighbours
  word |= word >> 14;                              // of four
  word |= word >> 28;                              // of all eight, from bit 7 on
  return static_cast<unsigned>(word >> 7) & 0xFFU;
}

}  // namespace

MaskBits packMask(const unsigned char* pixels, int width, int height, std::ptrdiff_t stride) {
  const auto columns = static_cast<std::size_t>(width);
  const std::size_t count = columns * static_cast<std::size_t>(height);
  // One byte more than needed: eight pixels that do not begin at a byte boundary extend into the next byte.
  MaskBits mask{width, height, std::vector<uint8_t>((count + 7) / 8 + 1)};
  std::size_t at = 0;  // the pixel's number in the mask
  const auto put = [&](unsigned bits) {
    const unsigned shifted = bits << (at % 8);
    mask.bits[at / 8] = static_cast<uint8_t>(mask.bits[at / 8] | (shifted & 0xFFU));
    mask.bits[at / 8 + 1] = static_cast<uint8_t>(shifted >> 8);
  };
  for (int y = 0; y < height; ++y) {
    const unsigned char* row = pixels + y * stride;
    std::size_t x = 0;
    for (; columns - x >= 8; x += 8, at += 8) put(packEight(row + x));
    for (; x < columns; ++x, ++at) put(row[x] != 0 ? 1U : 0U);
  }
  mask.bits.pop_back();
  return mask;
}

}  // namespace seg_mask
