#pragma once

// What the benchmarks of whole frames draw, and how OpenCV's users would draw it.

#include <cstdint>
#include <vector>

#include "scene.h"

namespace crowd {

/// The sides of every frame here.
constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

/// That many people of 200x400 with masks of 160x160, spread over the frame, at even places.
scene::Scene people(int count);

/// The mask that all of them have, scaled to the frame: 255 inside, 0 outside.
std::vector<uint8_t> frameMask();

/// Draws the scene's people into a packed NV12 frame by OpenCV: each mask's text decoded, scaled to the frame
/// by cv::resize, and luma and chroma of its box blended by cv::addWeighted and a masked copy.
void drawByOpenCv(const scene::Scene& scene, std::vector<uint8_t>& frame);

/// Throws std::runtime_error unless OpenCV's frame is ours but for its rounding.
void requireAlike(const scene::Scene& scene, const std::vector<uint8_t>& ours,
                  const std::vector<uint8_t>& byOpenCv);

}  // namespace crowd
