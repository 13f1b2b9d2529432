#include "io/nv12.h"

#include <algorithm>
#include <cstring>

namespace segmask {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "a word's lowest byte is its first pixel");

/// Up to eight bytes as a word.
uint64_t wordOf(const unsigned char* bytes, std::size_t count) {
  uint64_t word = 0;
  if (count >= sizeof(word)) {
    std::memcpy(&word, bytes, sizeof(word));  // of a fixed size, which is no call
  } else {
    std::memcpy(&word, bytes, count);
  }
  return word;
}

/// The lowest bit of each byte that is not 0.
uint64_t markBytes(uint64_t word) {
  constexpr uint64_t kLow = 0x7F7F7F7F7F7F7F7FU;
  return ((((word & kLow) + kLow) | word) & ~kLow) >> 7;
}

/// The marks of both bytes of each pair of which one is marked.
uint64_t markPairs(uint64_t marks) {
  constexpr uint64_t kFirst = 0x0001000100010001U;
  return marks | ((marks & kFirst) << 8) | ((marks >> 8) & kFirst);
}

/// Part of a frame's row, and of the chroma row over it.
struct RowPart {
  const unsigned char* luma;
  const unsigned char* chroma;
};

constexpr std::size_t kBlock = 64;

/// The pixels that differ of up to kBlock. There is one more chroma byte where the number of pixels is odd.
uint64_t countInBlock(RowPart a, RowPart b, std::size_t pixels) {
  const std::size_t chromaBytes = pixels + pixels % 2;
  if (std::memcmp(a.luma, b.luma, pixels) == 0 && std::memcmp(a.chroma, b.chroma, chromaBytes) == 0) return 0;
  uint64_t perByte = 0;
  for (std::size_t x = 0; x < pixels; x += 8) {
    const uint64_t luma = wordOf(a.luma + x, pixels - x) ^ wordOf(b.luma + x, pixels - x);
    const uint64_t chroma = wordOf(a.chroma + x, chromaBytes - x) ^ wordOf(b.chroma + x, chromaBytes - x);
    const std::size_t beyond = pixels - x < 8 ? 8 - (pixels - x) : 0;
    perByte += (markBytes(luma) | markPairs(markBytes(chroma))) & (~uint64_t{0} >> (8 * beyond));
  }
  uint64_t count = 0;
  for (; perByte != 0; perByte >>= 8) count += perByte & 0xFF;
  return count;
}

}  // namespace

uint64_t countChangedPixels(const unsigned char* before, const unsigned char* after,
                            const Nv12Layout& layout) {
  const auto width = static_cast<std::size_t>(layout.width);
  uint64_t count = 0;
  for (std::size_t row = 0; row < static_cast<std::size_t>(layout.height); ++row) {
    const std::size_t luma = row * width;
    const std::size_t chroma = layout.lumaBytes() + row / 2 * layout.chromaRowBytes();
    for (std::size_t x = 0; x < width; x += kBlock) {
      count += countInBlock({before + luma + x, before + chroma + x}, {after + luma + x, after + chroma + x},
                            std::min(kBlock, width - x));
    }
  }
  return count;
}

void copyRows(ConstPlane from, Plane to, std::size_t rowBytes, int rows) {
  for (std::ptrdiff_t row = 0; row < rows; ++row) {
    std::memcpy(to.samples + row * to.stride, from.samples + row * from.stride, rowBytes);
  }
}

void interleaveChroma(ConstPlane u, ConstPlane v, Plane uv, int columns, int rows) {
  for (std::ptrdiff_t row = 0; row < rows; ++row) {
    const unsigned char* const uRow = u.samples + row * u.stride;
    const unsigned char* const vRow = v.samples + row * v.stride;
    unsigned char* const uvRow = uv.samples + row * uv.stride;
    for (std::ptrdiff_t column = 0; column < columns; ++column) {
      uvRow[2 * column] = uRow[column];
      uvRow[2 * column + 1] = vRow[column];
    }
  }
}

void deinterleaveChroma(ConstPlane uv, Plane u, Plane v, int columns, int rows) {
  for (std::ptrdiff_t row = 0; row < rows; ++row) {
    const unsigned char* const uvRow = uv.samples + row * uv.stride;
    unsigned char* const uRow = u.samples + row * u.stride;
    unsigned char* const vRow = v.samples + row * v.stride;
    for (std::ptrdiff_t column = 0; column < columns; ++column) {
      uRow[column] = uvRow[2 * column];
      vRow[column] = uvRow[2 * column + 1];
    }
  }
}

}  // namespace segmask
