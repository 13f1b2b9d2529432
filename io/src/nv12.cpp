#include "io/nv12.h"

#include <cstring>

namespace segmask {
namespace {

/// Sixteen pixels, and the chroma over them.
using Bytes = uint8_t __attribute__((vector_size(16)));
using Pairs = uint16_t __attribute__((vector_size(16)));
constexpr std::size_t kLanes = sizeof(Bytes);

template <class Vector>
Vector load(const unsigned char* bytes) {
  Vector vector;
  std::memcpy(&vector, bytes, sizeof(vector));
  return vector;
}

/// 255 in each byte in which the vectors of that type differ at these addresses.
template <class Vector>
Bytes differences(const unsigned char* a, const unsigned char* b) {
  return reinterpret_cast<Bytes>(load<Vector>(a) != load<Vector>(b));
}

/// Counts pixels that differ, kLanes at once.
class LaneCounter {
 public:
  /// The pixels of which the bytes are not 0.
  void add(Bytes differing) {
    perLane_ += differing & 1;
    if (++steps_ == 255) flush();  // as far as a lane counts
  }

  uint64_t total() {
    flush();
    return total_;
  }

 private:
  void flush() {
    for (std::size_t lane = 0; lane < kLanes; ++lane) total_ += perLane_[lane];
    perLane_ = Bytes{};
    steps_ = 0;
  }

  Bytes perLane_{};
  unsigned steps_ = 0;
  uint64_t total_ = 0;
};

/// Part of a chroma row, and of the two luma rows under it. The lower one is the upper one again where the
/// part ends between them.
struct RowPair {
  const unsigned char* upper;
  const unsigned char* lower;
  const unsigned char* chroma;
};

uint64_t countOneByOne(const RowPair& a, const RowPair& b, std::size_t from, std::size_t to, bool hasLower) {
  uint64_t count = 0;
  for (std::size_t x = from; x < to; ++x) {
    const std::size_t pair = x - x % 2;
    const bool chroma = std::memcmp(a.chroma + pair, b.chroma + pair, 2) != 0;
    if (chroma || a.upper[x] != b.upper[x]) ++count;
    if (hasLower && (chroma || a.lower[x] != b.lower[x])) ++count;
  }
  return count;
}

}  // namespace

uint64_t countChangedPixels(const unsigned char* before, const unsigned char* after, const Nv12Layout& layout,
                            const Nv12Part& part) {
  const auto width = static_cast<std::size_t>(part.width);
  const auto end = static_cast<std::size_t>(part.y) + static_cast<std::size_t>(part.height);
  LaneCounter lanes;
  uint64_t count = 0;
  for (auto row = static_cast<std::size_t>(part.y); row < end; row += 2) {
    const bool hasLower = row + 1 < end;
    const std::size_t upper = row * static_cast<std::size_t>(layout.width) + static_cast<std::size_t>(part.x);
    const std::size_t lower = hasLower ? upper + static_cast<std::size_t>(layout.width) : upper;
    const std::size_t chroma =
        layout.lumaBytes() + row / 2 * layout.chromaRowBytes() + static_cast<std::size_t>(part.x);
    const RowPair a{before + upper, before + lower, before + chroma};
    const RowPair b{after + upper, after + lower, after + chroma};
    std::size_t x = 0;
    for (; width - x >= kLanes; x += kLanes) {
      const Bytes pairs = differences<Pairs>(a.chroma + x, b.chroma + x);
      lanes.add(differences<Bytes>(a.upper + x, b.upper + x) | pairs);
      if (hasLower) lanes.add(differences<Bytes>(a.lower + x, b.lower + x) | pairs);
    }
    count += countOneByOne(a, b, x, width, hasLower);
  }
  return count + lanes.total();
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
