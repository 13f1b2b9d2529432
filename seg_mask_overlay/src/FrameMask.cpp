#include "FrameMask.h"

#include <cstring>
#include <new>

namespace seg_mask_overlay {
namespace {

/// A pixel in so many has to be wanted for a row of noise to be expanded rather than read bit by bit.
constexpr std::size_t kWorthExpanding = 4;

}  // namespace

const unsigned char* FrameMask::fill(const MaskBits& mask, int width, int height) try {
  frame_.create(height, width, CV_8UC1);  // continuous, because it allocates
  columns_.prepare(mask.width, width);
  rows_.prepare(mask.height, height);
  const auto rowBytes = static_cast<std::size_t>(width);
  for (int y = 0; y < height;) {
    unsigned char* const drawn = frame_.ptr(y);
    fillRow(mask, rows_.maskPixels()[static_cast<std::size_t>(y)], drawn);
    for (const int end = rows_.nextAfter(y++); y < end; ++y) std::memcpy(frame_.ptr(y), drawn, rowBytes);
  }
  return frame_.data;
} catch (const cv::Exception& error) {
  // With valid sizes memory is all that OpenCV can lack, and it says so in its own way.
  if (error.code == cv::Error::StsNoMem) throw std::bad_alloc();
  throw;
}

void FrameMask::fillRow(const MaskBits& mask, int maskRow, unsigned char* bytes) {
  RowEdges edges;
  if (findEdges(mask, maskRow, edges)) {
    fillRuns(edges, bytes);
  } else if (columns_.isIdentity()) {
    expandRow(mask, maskRow, bytes);
  } else {
    sampleNoise(mask, maskRow, bytes);
  }
}

void FrameMask::fillRuns(const RowEdges& edges, unsigned char* bytes) const {
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

void FrameMask::sampleNoise(const MaskBits& mask, int maskRow, unsigned char* bytes) {
  const std::vector<int>& columns = columns_.maskPixels();
  const auto width = static_cast<std::size_t>(mask.width);
  if (width / kWorthExpanding > columns.size()) {
    sampleRow(mask, maskRow, columns.data(), columns.size(), bytes);
    return;
  }
  noise_.resize(width);
  expandRow(mask, maskRow, noise_.data());
  const unsigned char* const pixels = noise_.data();
  const int* const column = columns.data();
  for (std::size_t i = 0; i < columns.size(); ++i) bytes[i] = pixels[column[i]];
}

}  // namespace seg_mask_overlay
