#include "io/nv12.h"

#include <cstring>

namespace segmask {

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
