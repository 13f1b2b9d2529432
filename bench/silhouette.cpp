#include "bench/silhouette.h"

#include <cmath>
#include <cstdint>
#include <vector>

#include "mask/mask_text.h"

namespace bench {

std::string silhouetteText(int width, int height, double phase) {
  std::vector<uint8_t> pixels;
  pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double dx = (x + 0.5) / width - 0.5;
      const double dy = (y + 0.5) / height - 0.5;
      const double radius = 0.3 + 0.05 * std::sin(7.0 * std::atan2(dy, dx) + phase);
      pixels.push_back(dx * dx * 4.0 + dy * dy < radius * radius ? 1 : 0);
    }
  }
  return seg_mask::encodeMaskText(seg_mask::packMask(pixels.data(), width, height, width));
}

}  // namespace bench
