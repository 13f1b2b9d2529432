#pragma once

// What the benchmarks of whole frames draw, and how OpenCV's users would draw it.

#include <cstdint>
#include <vector>

#include "test_support/scene.h"

namespace crowd {

/// Pixels of a side of each mask.
constexpr int kMaskSide = 160;

/// The frame's sides unless told otherwise.
constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

/// That many people with masks of 160x160, spread over the frame, at even places. Their boxes are 200x400 in
/// a frame of 1920x1080, and as large a part of any other.
scene::Scene people(int count, int width = kWidth, int height = kHeight);

/// The mask that all of the scene's people have, scaled to its frame: 255 inside, 0 outside.
std::vector<uint8_t> frameMask(const scene::Scene& scene);

/// Draws the scene's people into a packed NV12 frame by OpenCV: each mask's text decoded byte by byte, scaled
/// to the frame by cv::resize, and luma and chroma of its box blended by cv::addWeighted and a masked copy.
void drawByOpenCv(const scene::Scene& scene, std::vector<uint8_t>& frame);

/// Throws std::runtime_error unless OpenCV's frame is ours but for its rounding.
void requireAlike(const std::vector<uint8_t>& ours, const std::vector<uint8_t>& byOpenCv);

}  // namespace crowd
