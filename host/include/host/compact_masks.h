#pragma once

#include <cstdint>

#include "core/SwJsonArray.h"
#include "render_base/geometry.h"

namespace segmask {

/// The most pixels that the compact masks of one frame may have together, in however many lists: the texts of
/// as many take 0.7 GB.
inline constexpr int64_t kMostMaskPixels = int64_t{1} << 32;

/// Replaces in a list of detections each "mask", run lengths or polygons (docs/formats.md has the forms), by
/// the mask text in "class_info". `frame`, the size of the frame, is for polygons and for masks of a part of
/// it. `pixels` counts those of the frame's masks, over all its lists: 0 before the first of them. Throws
/// UserError "detections[INDEX]: what is wrong" for a mask that is none and for one that is too many; the
/// list is as it was then, but for the detections before that one.
void expandCompactMasks(SwJsonArray& detections, render_base::FrameSize frame, int64_t& pixels);

}  // namespace segmask
