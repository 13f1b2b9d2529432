#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "test_support/scene.h"

/// What a frame must look like after the plug-in has drawn, worked out pixel by pixel in the plainest way. It
/// includes nothing of the product, on purpose: a rule misread once must not be misread twice the same way.
namespace golden {

/// A mask as its text says, before it is brought to the frame.
struct Mask {
  int width = 0;
  int height = 0;
  std::vector<bool> inside;  ///< row by row
};

/// Nothing when the text is no valid mask.
std::optional<Mask> readMask(const std::string& text);

/// Which of `from` source columns (or rows) is shown at column `at` of `to` columns: the nearest one at or
/// before it.
int sourceIndex(int at, int to, int from);

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
};

/// The part of the box that lies in the frame; nothing when there is none.
std::optional<Rectangle> visiblePart(const scene::Detection& box, int width, int height);

/// The detections that count for the frame, in drawing order, and what the fallback line says.
struct Gathering {
  std::vector<scene::Detection> detections;
  unsigned missing = 0;
  unsigned lookback = 0;
};

Gathering gather(const scene::Scene& scene);

/// Draws one detection into a packed frame.
void draw(std::vector<uint8_t>& frame, int width, int height, const scene::Detection& detection, float alpha);

/// The whole frame after the pass.
std::vector<uint8_t> expectedFrame(const scene::Scene& scene);

}  // namespace golden
