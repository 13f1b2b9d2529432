#pragma once

#include <cstddef>

namespace zelvo {

/// One plane's rows in memory.
struct PlaneLayout {
  std::size_t rowBytes;
  std::size_t rows;
  std::size_t pitch;  ///< bytes from one row to the next; larger than rowBytes

  std::size_t bytes() const { return rows * pitch; }
  std::size_t packedBytes() const { return rows * rowBytes; }
};

/// The two planes of an NV12 picture.
struct PictureLayout {
  PlaneLayout luma;
  PlaneLayout chroma;
};

/// The layout of a `width` x `height` picture, both positive. The planes' pitches differ from each other at
/// every size, so that code which confuses the two produces wrong pictures.
PictureLayout layoutOf(int width, int height);

}  // namespace zelvo
