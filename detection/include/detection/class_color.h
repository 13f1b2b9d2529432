#pragma once

#include <array>
#include <cstdint>

namespace seg_mask {

struct RgbColor {
  uint8_t r, g, b;
};

struct YuvColor {
  uint8_t y, u, v;
};

/// The colours of the classes, chosen to be told apart on video.
inline constexpr std::array<RgbColor, 20> kPalette = {{
    {255, 56, 56},  {255, 157, 151}, {255, 112, 31}, {255, 178, 29},  {207, 210, 49},
    {72, 249, 10},  {146, 204, 23},  {61, 219, 134}, {26, 147, 52},   {0, 212, 187},
    {44, 153, 168}, {0, 194, 255},   {52, 69, 147},  {100, 115, 255}, {0, 24, 236},
    {132, 56, 255}, {82, 0, 133},    {203, 56, 255}, {255, 149, 200}, {255, 55, 199},
}};

/// Full-range BT.601 with three-decimal coefficients and no luma offset, in single precision, cut to
/// integers.
YuvColor toYuv(RgbColor color);

/// The palette's colour for a class: the index is the absolute value of its number modulo the palette's size.
RgbColor paletteColor(int32_t class_id);

/// The same as it is drawn.
YuvColor classColor(int32_t class_id);

}  // namespace seg_mask
