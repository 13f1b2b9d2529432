#include "bench/silhouette.h"

#include <cmath>
#include <cstdint>
#include <opencv2/core.hpp>

#include "mask/mask_text.h"

namespace bench {

std::string silhouetteText(int width, int height, double phase) {
  cv::Mat mask(height, width, CV_8UC1);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double dx = (x + 0.5) / width - 0.5;
      const double dy = (y + 0.5) / height - 0.5;
      const double radius = 0.3 + 0.05 * std::sin(7.0 * std::atan2(dy, dx) + phase);
      mask.at<uint8_t>(y, x) = dx * dx * 4.0 + dy * dy < radius * radius ? 1 : 0;
    }
  }
  return seg_mask::encodeMaskText(
      seg_mask::packMask(mask.data, mask.cols, mask.rows, static_cast<std::ptrdiff_t>(mask.step)));
}

}  // namespace bench
