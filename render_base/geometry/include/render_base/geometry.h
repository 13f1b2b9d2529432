#pragma once

// Plain geometry of frames, for host and device code alike. A target of its own (render_geometry) without
// dependencies.

#include <cstddef>
#include <cstdint>
#include <optional>

#ifdef __CUDACC__
#define RENDER_HOST_DEVICE __host__ __device__
#else
#define RENDER_HOST_DEVICE
#endif

namespace render_base {

/// A frame's luma columns and rows.
struct FrameSize {
  int width, height;

  constexpr bool empty() const { return width <= 0 || height <= 0; }

  /// Luma pixels; the frame is not empty.
  constexpr std::size_t pixels() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
};

/// Luma pixels, both corners included. Empty when x1 < x0 or y1 < y0.
struct LumaRect {
  int x0, y0, x1, y1;

  RENDER_HOST_DEVICE constexpr bool empty() const { return x1 < x0 || y1 < y0; }

  friend constexpr bool operator==(const LumaRect& a, const LumaRect& b) {
    return a.x0 == b.x0 && a.y0 == b.y0 && a.x1 == b.x1 && a.y1 == b.y1;
  }
};

/// A box in frame pixels, as a producer gave it: its top-left corner and its dimensions, any numbers.
struct Box {
  int32_t x, y, w, h;
};

/// Cuts a rectangle to the frame. One that lies outside comes out empty: the near corner is not limited from
/// above nor the far corner from below.
RENDER_HOST_DEVICE constexpr LumaRect clampToFrame(LumaRect rect, int width, int height) {
  return {rect.x0 < 0 ? 0 : rect.x0, rect.y0 < 0 ? 0 : rect.y0, rect.x1 >= width ? width - 1 : rect.x1,
          rect.y1 >= height ? height - 1 : rect.y1};
}

/// The pixels of the box that lie within the frame; nothing when there are none. Computed in 64 bits, where
/// x + w of any box is exact.
constexpr std::optional<LumaRect> clipBox(const Box& box, FrameSize frame) {
  const int64_t x0 = box.x > 0 ? box.x : 0;
  const int64_t y0 = box.y > 0 ? box.y : 0;
  const int64_t right = int64_t{box.x} + box.w;
  const int64_t bottom = int64_t{box.y} + box.h;
  const int64_t x1 = (right < frame.width ? right : frame.width) - 1;
  const int64_t y1 = (bottom < frame.height ? bottom : frame.height) - 1;
  if (x1 < x0 || y1 < y0) return std::nullopt;
  return LumaRect{static_cast<int>(x0), static_cast<int>(y0), static_cast<int>(x1), static_cast<int>(y1)};
}

}  // namespace render_base
