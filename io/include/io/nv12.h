#pragma once

#include <cstddef>
#include <cstdint>

namespace segmask {

/// The layout of a tightly packed NV12 frame. Odd dimensions round up in the chroma plane.
struct Nv12Layout {
  int width;
  int height;

  int chromaColumns() const { return width / 2 + width % 2; }  ///< pairs U, V in a chroma row
  int chromaRows() const { return height / 2 + height % 2; }
  std::size_t lumaBytes() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
  std::size_t chromaRowBytes() const { return 2 * static_cast<std::size_t>(chromaColumns()); }
  std::size_t chromaBytes() const { return chromaRowBytes() * static_cast<std::size_t>(chromaRows()); }
  std::size_t frameBytes() const { return lumaBytes() + chromaBytes(); }
};

/// The first sample of a plane and the bytes from one row to the next, which may be negative (rows stored
/// from the bottom up).
struct ConstPlane {
  const unsigned char* samples;
  std::ptrdiff_t stride;
};
struct Plane {
  unsigned char* samples;
  std::ptrdiff_t stride;
};

/// Pixels of a frame: the top-left one, of even coordinates, and the numbers of columns and rows.
struct Nv12Part {
  int x, y;
  int width, height;
};

/// How many pixels of that part of two tightly packed frames differ, in their luma byte or in the chroma pair
/// over them.
uint64_t countChangedPixels(const unsigned char* before, const unsigned char* after, const Nv12Layout& layout,
                            const Nv12Part& part);

/// Copies `rows` rows of `rowBytes` bytes.
void copyRows(ConstPlane from, Plane to, std::size_t rowBytes, int rows);

/// Merges a plane of U and a plane of V samples into a plane of pairs U, V.
void interleaveChroma(ConstPlane u, ConstPlane v, Plane uv, int columns, int rows);

/// The reverse.
void deinterleaveChroma(ConstPlane uv, Plane u, Plane v, int columns, int rows);

}  // namespace segmask
