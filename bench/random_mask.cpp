#include "bench/random_mask.h"

#include <cstdint>
#include <opencv2/core.hpp>
#include <random>

#include "mask/mask_text.h"

namespace bench {

std::string randomMaskText(int width, int height) {
  std::mt19937 random;
  cv::Mat mask(height, width, CV_8UC1);
  for (std::size_t i = 0; i < mask.total(); ++i) mask.data[i] = static_cast<uint8_t>(random() & 1U);
  return seg_mask::encodeMaskText(
      seg_mask::packMask(mask.data, mask.cols, mask.rows, static_cast<std::ptrdiff_t>(mask.step)));
}

}  // namespace bench
