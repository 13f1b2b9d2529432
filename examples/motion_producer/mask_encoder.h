#pragma once

#include <opencv2/core.hpp>
#include <string>

namespace motion_producer {

/// The "SEG1" text of a mask (8-bit, one channel, any non-zero byte inside): "SEG1|width|height|" and the
/// pixels in base64, one bit each, row by row, the least significant bit of a byte first. With padding, so
/// that any decoder takes it.
std::string encodeMask(const cv::Mat& mask);

}  // namespace motion_producer
