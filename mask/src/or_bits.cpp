#include "src/or_bits.h"

#include <algorithm>
#include <cstring>

namespace seg_mask {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "a word's lowest bit is its first pixel");

/// A word that begins at any bit of a byte has so many bits to the end of its last byte.
constexpr std::size_t kStep = 56;

/// The word that begins at byte `at`; bytes behind the last are 0.
uint64_t wordAt(const uint8_t* bytes, std::size_t size, std::size_t at) {
  uint64_t word = 0;
  std::memcpy(&word, bytes + at, std::min(sizeof(word), size - at));
  return word;
}

}  // namespace

void orBits(const PackedRow& from, std::vector<uint8_t>& to, std::size_t first) {
  for (std::size_t done = 0; done < from.count; done += kStep) {
    const std::size_t count = std::min(kStep, from.count - done);
    const std::size_t source = from.first + done;
    const uint64_t bits =
        (wordAt(from.bits, from.size, source / 8) >> (source % 8)) & ((uint64_t{1} << count) - 1);
    const std::size_t target = first + done;
    const uint64_t joined = wordAt(to.data(), to.size(), target / 8) | (bits << (target % 8));
    std::memcpy(to.data() + target / 8, &joined, std::min(sizeof(joined), to.size() - target / 8));
  }
}

}  // namespace seg_mask
