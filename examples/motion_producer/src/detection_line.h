#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "src/BoxTracker.h"
#include "src/MotionDetector.h"

namespace motion_producer {

/// How a detection has its mask.
enum class MaskForm {
  Text,       ///< "class_info": "SEG1|...", which any host takes
  RunLengths  ///< "mask": compressed run lengths, which segmask takes
};

/// One line of detections as hosts read it: a JSON object with "frame", "producer" and "detections", ended by
/// a line feed.
///
/// A detection is its silhouette's box in frame pixels, its track as "class_id" (so that each person keeps a
/// colour), a "score" that grows with the track's sightings (0.5 at the first, towards 1), and a mask of the
/// whole frame, `maskSize` large. `silhouettes` and `tracked` are of one length.
std::string detectionLine(uint64_t frame, const std::vector<Silhouette>& silhouettes,
                          const std::vector<TrackedBox>& tracked, cv::Size frameSize, cv::Size maskSize,
                          MaskForm form);

}  // namespace motion_producer
