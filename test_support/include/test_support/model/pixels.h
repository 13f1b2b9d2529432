#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "test_support/model/mask.h"
#include "test_support/scene.h"

namespace model {

struct Colour {
  uint8_t y = 0;
  uint8_t u = 0;
  uint8_t v = 0;
};

Colour classColour(int32_t class_id);

/// `colour` over `old` with weight `alpha`.
uint8_t blend(uint8_t old, uint8_t colour, float alpha);

/// Pixels of the frame, both corners included.
struct Rectangle {
  int64_t x0 = 0;
  int64_t y0 = 0;
  int64_t x1 = 0;
  int64_t y1 = 0;

  bool holds(int x, int y) const { return x >= x0 && x <= x1 && y >= y0 && y <= y1; }
};

/// The part of the box that lies in the frame; nothing when there is none.
std::optional<Rectangle> visiblePart(const scene::Detection& box, int width, int height);

/// Where a frame lies in memory, NV12. Pitches are the bytes from one row to the next.
struct Planes {
  int width = 0;
  int height = 0;
  uint8_t* luma = nullptr;
  std::ptrdiff_t luma_pitch = 0;
  uint8_t* chroma = nullptr;
  std::ptrdiff_t chroma_pitch = 0;
};

/// Those of a tightly packed frame.
Planes planesOf(std::vector<uint8_t>& frame, int width, int height);

/// Draws one colour through the mask into the luma of this part of the frame; into its chroma.
void drawLuma(const Planes& frame, const Mask& mask, const Rectangle& part, uint8_t colour, float alpha);
void drawChroma(const Planes& frame, const Mask& mask, const Rectangle& part, const Colour& colour,
                float alpha);

/// Whether any chroma sample belongs to the part.
bool hasChroma(const Planes& frame, const Rectangle& part);

}  // namespace model
