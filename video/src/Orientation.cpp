#include "src/Orientation.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace segmask {
namespace {

/// A square whose rows stay in the first cache while it is transposed.
constexpr std::ptrdiff_t kBlock = 32;

/// Where the pixel at (0, 0) of the result is stored, and how far the next one in a row and in a column is,
/// in samples.
struct Walk {
  std::ptrdiff_t first;
  std::ptrdiff_t right;
  std::ptrdiff_t down;
};

Walk walkThrough(std::ptrdiff_t columns, std::ptrdiff_t rows, Orientation orientation) {
  Walk walk = orientation.transposed ? Walk{0, columns, 1} : Walk{0, 1, columns};
  const std::ptrdiff_t shownColumns = orientation.transposed ? rows : columns;
  const std::ptrdiff_t shownRows = orientation.transposed ? columns : rows;
  if (orientation.reversedX) {
    walk.first += (shownColumns - 1) * walk.right;
    walk.right = -walk.right;
  }
  if (orientation.reversedY) {
    walk.first += (shownRows - 1) * walk.down;
    walk.down = -walk.down;
  }
  return walk;
}

/// Turns a plane whose samples have `kBytes` bytes.
template <std::size_t kBytes>
void turnPlane(const unsigned char* stored, int columns, int rows, Orientation orientation,
               unsigned char* shown) {
  constexpr auto kStep = static_cast<std::ptrdiff_t>(kBytes);
  const Walk walk = walkThrough(columns, rows, orientation);
  const std::ptrdiff_t width = orientation.transposed ? rows : columns;
  const std::ptrdiff_t height = orientation.transposed ? columns : rows;
  for (std::ptrdiff_t top = 0; top < height; top += kBlock) {
    for (std::ptrdiff_t left = 0; left < width; left += kBlock) {
      for (std::ptrdiff_t y = top; y < std::min(top + kBlock, height); ++y) {
        const unsigned char* from = stored + kStep * (walk.first + y * walk.down + left * walk.right);
        unsigned char* to = shown + kStep * (y * width + left);
        for (std::ptrdiff_t x = left; x < std::min(left + kBlock, width); ++x) {
          std::memcpy(to, from, kBytes);
          to += kStep;
          from += kStep * walk.right;
        }
      }
    }
  }
}

}  // namespace

std::optional<Orientation> orientationOf(const DisplayMatrix& matrix) {
  // A stored pixel (p, q) is shown at x = a * p + c * q, y = b * p + d * q, moved into the picture.
  const int32_t a = matrix[0];
  const int32_t b = matrix[1];
  const int32_t c = matrix[3];
  const int32_t d = matrix[4];
  if (b == 0 && c == 0 && a != 0 && d != 0) return Orientation{false, a < 0, d < 0};
  if (a == 0 && d == 0 && b != 0 && c != 0) return Orientation{true, c < 0, b < 0};
  return std::nullopt;
}

Orientation orientationOfExif(int value) {
  switch (value) {
    case 2:
      return {false, true, false};
    case 3:
      return {false, true, true};
    case 4:
      return {false, false, true};
    case 5:
      return {true, false, false};
    case 6:
      return {true, true, false};
    case 7:
      return {true, true, true};
    case 8:
      return {true, false, true};
    default:
      return {};
  }
}

Orientation exifOrientationOf(const AVFrame& picture) {
  const AVDictionaryEntry* const entry = av_dict_get(picture.metadata, "Orientation", nullptr, 0);
  return entry ? orientationOfExif(std::atoi(entry->value)) : Orientation();
}

void turn(const std::vector<unsigned char>& stored, const Nv12Layout& layout, Orientation orientation,
          std::vector<unsigned char>& shown) {
  shown.resize(stored.size());
  turnPlane<1>(stored.data(), layout.width, layout.height, orientation, shown.data());
  turnPlane<2>(stored.data() + layout.lumaBytes(), layout.chromaColumns(), layout.chromaRows(), orientation,
               shown.data() + layout.lumaBytes());
}

}  // namespace segmask
