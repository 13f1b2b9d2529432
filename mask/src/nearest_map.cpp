#include "mask/nearest_map.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "src/opencv_memory.h"

namespace seg_mask {
namespace {

using Bytes = std::vector<unsigned char>;

/// By frame pixel: one byte of the number of its mask pixel, which is scaled as a mask's pixels would be. The
/// matrices use memory that is allocated here, because OpenCV's allocator leaks a matrix's bytes when it
/// finds no memory for their bookkeeping.
Bytes scaledDigits(int maskDimension, int frameDimension, int shift) {
  Bytes digits(static_cast<std::size_t>(maskDimension));
  Bytes scaled(static_cast<std::size_t>(frameDimension));
  for (std::size_t i = 0; i < digits.size(); ++i) digits[i] = static_cast<unsigned char>((i >> shift) & 255U);
  withBadAlloc([&] {
    const cv::Mat from(1, maskDimension, CV_8UC1, digits.data());
    cv::Mat to(1, frameDimension, CV_8UC1, scaled.data());
    cv::resize(from, to, to.size(), 0, 0, cv::INTER_NEAREST);
  });
  return scaled;
}

}  // namespace

void NearestMap::prepare(int maskDimension, int frameDimension) {
  const auto size = static_cast<std::size_t>(frameDimension);
  if (maskDimension_ == maskDimension && maskPixels_.size() == size) return;
  maskDimension_ = 0;  // nothing is valid if memory runs out below
  maskPixels_.assign(size, 0);
  for (int shift = 0; shift < 32 && (maskDimension - 1) >> shift != 0; shift += 8) {
    const Bytes digits = scaledDigits(maskDimension, frameDimension, shift);
    for (std::size_t i = 0; i < size; ++i) maskPixels_[i] |= static_cast<int>(digits[i]) << shift;
  }
  identity_ = maskDimension == frameDimension;
  for (std::size_t i = 0; i < size; ++i) identity_ = identity_ && maskPixels_[i] == static_cast<int>(i);
  ratio_ = static_cast<double>(frameDimension) / maskDimension;
  maskDimension_ = maskDimension;
}

int NearestMap::firstFrom(int maskPixel) const {
  const int* const map = maskPixels_.data();
  const int end = static_cast<int>(maskPixels_.size());
  int at = std::min(static_cast<int>(maskPixel * ratio_), end);  // an estimate, corrected by the map itself
  while (at > 0 && map[at - 1] >= maskPixel) --at;
  while (at < end && map[at] < maskPixel) ++at;
  return at;
}

int NearestMap::nextAfter(int framePixel) const {
  const int end = static_cast<int>(maskPixels_.size());
  const int* const map = maskPixels_.data();
  int at = framePixel + 1;
  while (at < end && map[at] == map[framePixel]) ++at;
  return at;
}

}  // namespace seg_mask
