#include "mask/mask_rows.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace seg_mask {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "a word's lowest bit is its first pixel");

uint64_t wholeWord(const PackedRow& row, std::size_t number) {
  uint64_t word;
  std::memcpy(&word, row.bits + 8 * number, sizeof(word));
  return word;
}

/// 64 bits from bit 64 * `number` on; those behind the last byte are 0.
uint64_t wordAt(const PackedRow& row, std::size_t number) {
  const std::size_t left = row.size - 8 * number;
  if (left >= sizeof(uint64_t)) return wholeWord(row, number);
  uint64_t word = 0;
  std::memcpy(&word, row.bits + 8 * number, left);
  return word;
}

unsigned char byteOf(const uint8_t* bits, std::size_t pixel) {
  return static_cast<unsigned char>(-((bits[pixel / 8] >> (pixel % 8)) & 1));
}

/// A word of which the bits from `bit` on are set.
constexpr uint64_t bitsFrom(std::size_t bit) {
  return ~((uint64_t{1} << bit) - 1);
}

using Bytes = std::array<unsigned char, 8>;

constexpr std::array<Bytes, 256> makeExpanded() {
  std::array<Bytes, 256> expanded{};
  for (unsigned bits = 0; bits < 256; ++bits) {
    for (unsigned i = 0; i < 8; ++i) expanded[bits][i] = ((bits >> i) & 1U) != 0 ? 255 : 0;
  }
  return expanded;
}

constexpr std::array<Bytes, 256> kExpanded = makeExpanded();

}  // namespace

PackedRow packedRow(const MaskView& mask, int row) {
  const auto width = static_cast<std::size_t>(mask.width);
  return {mask.bits, mask.size, static_cast<std::size_t>(row) * width, width};
}

bool findEdges(const PackedRow& row, RowEdges& edges) {
  const std::size_t last = row.first + row.count - 1;
  const std::size_t lastWord = last / 64;
  std::size_t number = row.first / 64;
  uint64_t ofRow = bitsFrom(row.first % 64);  // the bits of this word that belong to the row
  uint64_t expected = 0;                      // a word without an edge
  edges.count = 0;
  for (;;) {
    if (number == lastWord) ofRow &= ~uint64_t{0} >> (63 - last % 64);
    const uint64_t word = wordAt(row, number);
    for (uint64_t other = (word ^ expected) & ofRow; other != 0; other = (word ^ expected) & ofRow) {
      if (edges.count == RowEdges::kCapacity) return false;
      const auto bit = static_cast<unsigned>(__builtin_ctzll(other));
      edges.pixels[edges.count++] = static_cast<int>(number * 64 + bit - row.first);
      expected = ~expected;
      ofRow &= bitsFrom(bit);
    }
    if (number == lastWord) return true;
    ofRow = ~uint64_t{0};
    do {
      ++number;
    } while (number < lastWord && wholeWord(row, number) == expected);
  }
}

void expandRow(const PackedRow& row, unsigned char* bytes) {
  const std::size_t end = row.first + row.count;
  std::size_t pixel = row.first;
  for (; pixel < end && pixel % 8 != 0; ++pixel) *bytes++ = byteOf(row.bits, pixel);
  for (; end - pixel >= 8; pixel += 8, bytes += 8) {
    std::memcpy(bytes, kExpanded[row.bits[pixel / 8]].data(), 8);
  }
  for (; pixel < end; ++pixel) *bytes++ = byteOf(row.bits, pixel);
}

void sampleRow(const PackedRow& row, const int* columns, std::size_t count, int firstColumn,
               unsigned char* bytes) {
  const uint8_t* const bits = row.bits + row.first / 8;
  const std::size_t offset = row.first % 8;
  for (std::size_t i = 0; i < count; ++i) {
    bytes[i] = byteOf(bits, offset + static_cast<std::size_t>(columns[i] - firstColumn));
  }
}

void sampleDenseRow(const PackedRow& row, const int* columns, std::size_t count, int firstColumn,
                    unsigned char* scratch, unsigned char* bytes) {
  if (row.count > denseRowScratch(count)) {
    sampleRow(row, columns, count, firstColumn, bytes);
    return;
  }
  expandRow(row, scratch);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = scratch[columns[i] - firstColumn];
}

}  // namespace seg_mask
