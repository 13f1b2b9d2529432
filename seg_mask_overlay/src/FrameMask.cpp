#include "FrameMask.h"

#include <new>
#include <opencv2/imgproc.hpp>

namespace seg_mask_overlay {
namespace {

void expandBits(const MaskBits& mask, cv::Mat& pixels) {
  pixels.create(mask.height, mask.width, CV_8UC1);  // continuous, because it allocates
  const std::size_t count = pixels.total();
  for (std::size_t i = 0; i < count; ++i) pixels.data[i] = mask.inside(i) ? 255 : 0;
}

}  // namespace

const unsigned char* FrameMask::fill(const MaskBits& mask, int width, int height) try {
  if (mask.width == width && mask.height == height) {
    expandBits(mask, frame_);
  } else {
    cv::Mat pixels;
    expandBits(mask, pixels);
    cv::resize(pixels, frame_, cv::Size(width, height), 0, 0, cv::INTER_NEAREST);
  }
  return frame_.data;
} catch (const cv::Exception& error) {
  // With valid sizes memory is all that OpenCV can lack, and it says so in its own way.
  if (error.code == cv::Error::StsNoMem) throw std::bad_alloc();
  throw;
}

}  // namespace seg_mask_overlay
