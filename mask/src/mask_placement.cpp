#include "mask/mask_placement.h"

#include <algorithm>

#include "mask/mask_rows.h"
#include "src/or_bits.h"

namespace seg_mask {
namespace {

/// Frame pixels `first` up to but not `end` along one dimension, and for each the mask pixel that it shows.
struct Span {
  int first = 0;
  int end = 0;
  std::vector<int> maskPixels;
};

Span spanOf(int at, int size, int frameDimension, int maskDimension) {
  Span span;
  span.first = std::max(0, at);
  span.end = static_cast<int>(std::min<int64_t>(frameDimension, int64_t{at} + size));
  for (int64_t pixel = span.first; pixel < span.end; ++pixel) {
    span.maskPixels.push_back(static_cast<int>((pixel - at) * maskDimension / size));
  }
  return span;
}

}  // namespace

MaskBits placeMask(const MaskView& mask, const MaskPlacement& at, int width, int height) {
  const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  MaskBits placed{width, height, std::vector<uint8_t>((pixels + 7) / 8)};
  const Span columns = spanOf(at.x, at.w, width, mask.width);
  const Span rows = spanOf(at.y, at.h, height, mask.height);
  if (columns.maskPixels.empty()) return placed;

  std::vector<unsigned char> bytes(columns.maskPixels.size());
  MaskBits shown{};  // the mask's row `shownRow`, as the frame's columns show it
  int shownRow = -1;
  for (std::size_t i = 0; i < rows.maskPixels.size(); ++i) {
    if (rows.maskPixels[i] != shownRow) {
      shownRow = rows.maskPixels[i];
      sampleRow(packedRow(mask, shownRow), columns.maskPixels.data(), bytes.size(), 0, bytes.data());
      shown = packMask(bytes.data(), static_cast<int>(bytes.size()), 1, 0);
    }
    const std::size_t row = static_cast<std::size_t>(rows.first) + i;
    orBits(packedRow(shown, 0), placed.bits,
           row * static_cast<std::size_t>(width) + static_cast<std::size_t>(columns.first));
  }
  return placed;
}

}  // namespace seg_mask
