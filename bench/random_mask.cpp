#include "bench/random_mask.h"

#include <cstdint>
#include <random>
#include <vector>

#include "mask/mask_text.h"

namespace bench {

std::string randomMaskText(int width, int height) {
  std::mt19937 random;
  std::vector<uint8_t> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  for (uint8_t& pixel : pixels) pixel = static_cast<uint8_t>(random() & 1U);
  return seg_mask::encodeMaskText(seg_mask::packMask(pixels.data(), width, height, width));
}

}  // namespace bench
