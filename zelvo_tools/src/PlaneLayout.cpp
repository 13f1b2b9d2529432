#include "src/PlaneLayout.h"

#include "zelvo/transfer.h"

namespace zelvo {
namespace {

constexpr std::size_t kAlignment = 256;

/// Makes sure that the chroma pitch is no multiple of the luma pitch.
constexpr std::size_t kChromaExtra = 64;

/// The next multiple of the alignment above `rowBytes`.
std::size_t above(std::size_t rowBytes) {
  return (rowBytes / kAlignment + 1) * kAlignment;
}

}  // namespace

PictureLayout layoutOf(int width, int height) {
  const auto columns = static_cast<std::size_t>(width);
  const auto rows = static_cast<std::size_t>(height);
  const std::size_t chromaBytes = (columns + 1) / 2 * 2;
  return {{columns, rows, above(columns)}, {chromaBytes, (rows + 1) / 2, above(chromaBytes) + kChromaExtra}};
}

std::size_t packedNv12Bytes(int width, int height) {
  if (width <= 0 || height <= 0) return 0;
  const PictureLayout layout = layoutOf(width, height);
  return layout.luma.packedBytes() + layout.chroma.packedBytes();
}

}  // namespace zelvo
