#include "test_support/model/pixels.h"

#include <algorithm>
#include <cmath>

namespace model {
namespace {

uint8_t toByte(float value) {
  return static_cast<uint8_t>(std::clamp(static_cast<int>(value), 0, 255));
}

// Whether the mask touches the 2x2 block of a chroma sample anywhere in the frame. The box does not count
// here.
bool touchesBlock(const Mask& mask, int width, int height, int cx, int cy) {
  for (int y = 2 * cy; y <= 2 * cy + 1; ++y) {
    for (int x = 2 * cx; x <= 2 * cx + 1; ++x) {
      if (x < width && y < height && covers(mask, width, height, x, y)) return true;
    }
  }
  return false;
}

// A sample is in the box when the box reaches its block from the left and from above, and goes on to the
// block's second column and row. So a box that ends on an even column or row leaves that last block alone.
bool holdsSample(const Rectangle& part, int cx, int cy) {
  return part.holds(2 * cx + 1, 2 * cy + 1);
}

}  // namespace

Colour classColour(int32_t class_id) {
  static const int kRgb[20][3] = {
      {255, 56, 56},  {255, 157, 151}, {255, 112, 31}, {255, 178, 29},  {207, 210, 49},
      {72, 249, 10},  {146, 204, 23},  {61, 219, 134}, {26, 147, 52},   {0, 212, 187},
      {44, 153, 168}, {0, 194, 255},   {52, 69, 147},  {100, 115, 255}, {0, 24, 236},
      {132, 56, 255}, {82, 0, 133},    {203, 56, 255}, {255, 149, 200}, {255, 55, 199},
  };
  const int64_t magnitude = class_id < 0 ? -static_cast<int64_t>(class_id) : class_id;
  const int* rgb = kRgb[magnitude % 20];
  const auto r = static_cast<float>(rgb[0]);
  const auto g = static_cast<float>(rgb[1]);
  const auto b = static_cast<float>(rgb[2]);
  Colour colour;
  colour.y = toByte((0.587F * g + 0.299F * r) + 0.114F * b);
  colour.u = toByte(((-0.169F * r - 0.331F * g) + 0.5F * b) + 128.0F);
  colour.v = toByte(((0.5F * r - 0.419F * g) - 0.081F * b) + 128.0F);
  return colour;
}

uint8_t blend(uint8_t old, uint8_t colour, float alpha) {
  const float rest = static_cast<float>(old) * (1.0F - alpha);
  return toByte(std::fma(static_cast<float>(colour), alpha, rest) + 0.5F);
}

std::optional<Rectangle> visiblePart(const scene::Detection& box, int width, int height) {
  const int64_t right = static_cast<int64_t>(box.x) + box.w;
  const int64_t bottom = static_cast<int64_t>(box.y) + box.h;
  Rectangle part;
  part.x0 = std::max<int64_t>(box.x, 0);
  part.y0 = std::max<int64_t>(box.y, 0);
  part.x1 = std::min<int64_t>(right, width) - 1;
  part.y1 = std::min<int64_t>(bottom, height) - 1;
  if (part.x1 < part.x0 || part.y1 < part.y0) return std::nullopt;
  return part;
}

Planes planesOf(std::vector<uint8_t>& frame, int width, int height) {
  return {width,
          height,
          frame.data(),
          width,
          frame.data() + std::ptrdiff_t{width} * height,
          scene::chromaRowBytes(width)};
}

void drawLuma(const Planes& frame, const Mask& mask, const Rectangle& part, uint8_t colour, float alpha) {
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x) {
      if (!part.holds(x, y) || !covers(mask, frame.width, frame.height, x, y)) continue;
      uint8_t& luma = frame.luma[y * frame.luma_pitch + x];
      luma = blend(luma, colour, alpha);
    }
  }
}

void drawChroma(const Planes& frame, const Mask& mask, const Rectangle& part, const Colour& colour,
                float alpha) {
  for (int cy = 0; cy < scene::chromaRows(frame.height); ++cy) {
    for (int cx = 0; 2 * cx < frame.width; ++cx) {
      if (!holdsSample(part, cx, cy) || !touchesBlock(mask, frame.width, frame.height, cx, cy)) continue;
      uint8_t* const pair = frame.chroma + cy * frame.chroma_pitch + 2 * cx;
      pair[0] = blend(pair[0], colour.u, alpha);
      pair[1] = blend(pair[1], colour.v, alpha);
    }
  }
}

bool hasChroma(const Planes& frame, const Rectangle& part) {
  for (int cy = 0; cy < scene::chromaRows(frame.height); ++cy) {
    for (int cx = 0; 2 * cx < frame.width; ++cx) {
      if (holdsSample(part, cx, cy)) return true;
    }
  }
  return false;
}

}  // namespace model
