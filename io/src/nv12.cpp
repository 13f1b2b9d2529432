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

/// Part of a frame's row, and of the chroma row over it.
struct RowPart {
  const unsigned char* luma;
  const unsigned char* chroma;

  RowPart from(std::size_t pixel) const { return {luma + pixel, chroma + pixel}; }
};

/// Counts pixels that differ, kLanes at once.
class LaneCounter {
 public:
  /// The first kLanes pixels of both.
  void add(RowPart a, RowPart b) {
    const auto luma = reinterpret_cast<Bytes>(load<Bytes>(a.luma) != load<Bytes>(b.luma));
    const auto pairs = reinterpret_cast<Bytes>(load<Pairs>(a.chroma) != load<Pairs>(b.chroma));
    perLane_ += (luma | pairs) & 1;
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

uint64_t countOneByOne(RowPart a, RowPart b, std::size_t pixels) {
  uint64_t count = 0;
  for (std::size_t x = 0; x < pixels; ++x) {
    const std::size_t pair = x - x % 2;
    if (a.luma[x] != b.luma[x] || std::memcmp(a.chroma + pair, b.chroma + pair, 2) != 0) ++count;
  }
  return count;
}

}  // namespace

uint64_t countChangedPixels(const unsigned char* before, const unsigned char* after, const Nv12Layout& layout,
                            const Nv12Part& part) {
  const auto width = static_cast<std::size_t>(part.width);
  const auto first = static_cast<std::size_t>(part.y);
  LaneCounter lanes;
  uint64_t count = 0;
  for (std::size_t row = first; row < first + static_cast<std::size_t>(part.height); ++row) {
    const std::size_t luma = row * static_cast<std::size_t>(layout.width) + static_cast<std::size_t>(part.x);
    const std::size_t chroma =
        layout.lumaBytes() + row / 2 * layout.chromaRowBytes() + static_cast<std::size_t>(part.x);
    const RowPart a{before + luma, before + chroma};
    const RowPart b{after + luma, after + chroma};
    std::size_t x = 0;
    for (; width - x >= kLanes; x += kLanes) lanes.add(a.from(x), b.from(x));
    count += countOneByOne(a.from(x), b.from(x), width - x);
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
