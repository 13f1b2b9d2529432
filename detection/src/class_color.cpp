#include "detection/class_color.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace seg_mask {
namespace {

uint8_t toByte(float value) {
  return static_cast<uint8_t>(std::clamp(static_cast<int>(value), 0, 255));
}

}  // namespace

YuvColor toYuv(RgbColor color) {
  const float r = color.r;
  const float g = color.g;
  const float b = color.b;
  // The order of the operations is part of the result: hosts compare colours to the byte.
  const float y = (0.587F * g + 0.299F * r) + 0.114F * b;
  const float u = ((-0.169F * r - 0.331F * g) + 0.5F * b) + 128.0F;
  const float v = ((0.5F * r - 0.419F * g) - 0.081F * b) + 128.0F;
  return {toByte(y), toByte(u), toByte(v)};
}

RgbColor paletteColor(int32_t class_id) {
  // In 64 bits, because the absolute value of the smallest 32-bit number does not fit 32.
  const int64_t magnitude = std::abs(static_cast<int64_t>(class_id));
  return kPalette[static_cast<std::size_t>(magnitude) % kPalette.size()];
}

YuvColor classColor(int32_t class_id) {
  return toYuv(paletteColor(class_id));
}

}  // namespace seg_mask
