#include "src/FrameMask.h"

#include <cstring>

namespace seg_mask_overlay {

const unsigned char* FrameMask::fill(const seg_mask::MaskView& mask, int width, int height) {
  makeRoom(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  columns_.prepare(mask.width, width);
  rows_.prepare(mask.height, height);
  const auto rowBytes = static_cast<std::size_t>(width);
  unsigned char* row = frame_.data();
  int y = 0;
  while (y < height) {
    const unsigned char* const drawn = row;
    const int end = rows_.nextAfter(y);
    fillRow(mask, rows_.maskPixels()[static_cast<std::size_t>(y)], row);
    row += rowBytes;
    for (++y; y < end; ++y, row += rowBytes) std::memcpy(row, drawn, rowBytes);
  }
  return frame_.data();
}

void FrameMask::makeRoom(std::size_t bytes) {
  if (frame_.size() >= bytes) return;
  frame_ = std::vector<unsigned char>();  // frees the old memory first, so that the two never exist together
  frame_.resize(bytes);
}

void FrameMask::fillRow(const seg_mask::MaskView& mask, int maskRow, unsigned char* bytes) {
  const seg_mask::PackedRow row = packedRow(mask, maskRow);
  seg_mask::RowEdges edges;
  if (findEdges(row, edges)) {
    fillRuns(edges, bytes);
  } else if (columns_.isIdentity()) {
    expandRow(row, bytes);
  } else {
    const std::vector<int>& columns = columns_.maskPixels();
    row_scratch_.resize(seg_mask::denseRowScratch(columns.size()));
    sampleDenseRow(row, columns.data(), columns.size(), 0, row_scratch_.data(), bytes);
  }
}

void FrameMask::fillRuns(const seg_mask::RowEdges& edges, unsigned char* bytes) const {
  int from = 0;
  int value = 0;
  const auto fillTo = [&](int to) {
    std::memset(bytes + from, value, static_cast<std::size_t>(to - from));
    from = to;
    value = 255 - value;
  };
  for (int i = 0; i < edges.count; ++i) fillTo(columns_.firstFrom(edges.pixels[i]));
  fillTo(static_cast<int>(columns_.maskPixels().size()));
}

}  // namespace seg_mask_overlay
