#include "mask/mask_bits.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

/// Sixteen pixels as the bits of two bytes.
unsigned packSixteen(const unsigned char* pixels) {
#ifdef __SSE2__
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128()))) ^ 0xFFFFU;
#else
  return packEight(pixels) | (packEight(pixels + 8) << 8);
#endif
}

/// Writes bits one after the other, the lowest bit of a byte first.
class BitWriter {
 public:
  explicit BitWriter(uint8_t* bytes) : next_(bytes) {}

  /// The lowest `count` bits, at most 16; those above are 0.
  void put(unsigned bits, unsigned count) {
    pending_ |= uint64_t{bits} << filled_;
    filled_ += count;
    if (filled_ < kWordBits) return;
    const auto word = static_cast<uint32_t>(pending_ & 0xFFFFFFFFU);
    std::memcpy(next_, &word, sizeof(word));
    next_ += sizeof(word);
    pending_ >>= kWordBits;
    filled_ -= kWordBits;
  }

  /// What is left, in whole bytes.
  void finish() { std::memcpy(next_, &pending_, (filled_ + 7) / 8); }

 private:
  static constexpr unsigned kWordBits = 32;

  uint8_t* next_;
  uint64_t pending_ = 0;
  unsigned filled_ = 0;
};

}  // namespace

MaskBits packMask(const unsigned char* pixels, int width, int height, std::ptrdiff_t stride) {
  const auto columns = static_cast<std::size_t>(width);
  const std::size_t count = columns * static_cast<std::size_t>(height);
  MaskBits mask{width, height, std::vector<uint8_t>((count + 7) / 8)};
  BitWriter writer(mask.bits.data());
  for (int y = 0; y < height; ++y) {
    const unsigned char* row = pixels + y * stride;
    std::size_t x = 0;
    for (; columns - x >= 16; x += 16) writer.put(packSixteen(row + x), 16);
    for (; columns - x >= 8; x += 8) writer.put(packEight(row + x), 8);
    for (; x < columns; ++x) writer.put(row[x] != 0 ? 1U : 0U, 1);
  }
  writer.finish();
  return mask;
}

}  // namespace seg_mask
