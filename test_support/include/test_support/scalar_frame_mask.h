#pragma once

#include <opencv2/imgproc.hpp>

#include "mask/mask_bits.h"

namespace seg_mask {

/// What FrameMask gives, pixel by pixel: the scalar reference, bits to bytes and then cv::resize.
inline cv::Mat scalarFrameMask(const MaskView& mask, int width, int height) {
  cv::Mat pixels(mask.height, mask.width, CV_8UC1);
  for (std::size_t i = 0; i < pixels.total(); ++i) pixels.data[i] = mask.inside(i) ? 255 : 0;
  cv::Mat frame;
  cv::resize(pixels, frame, cv::Size(width, height), 0, 0, cv::INTER_NEAREST);
  return frame;
}

}  // namespace seg_mask
