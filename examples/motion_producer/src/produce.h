#pragma once

#include <cstdint>
#include <string>

#include "src/detection_line.h"

namespace motion_producer {

struct Options {
  std::string input;    ///< a video of a fixed camera
  std::string output;   ///< JSON lines, replaced when the run succeeds
  int warmUp = 50;      ///< frames, spread over the video, from which the background is learnt first
  int maskWidth = 384;  ///< columns of the masks; rows follow from the frame's shape
  MaskForm maskForm = MaskForm::Text;
  double minArea = 0.0005;  ///< share of the frame below which a moving object is ignored as noise
};

struct Result {
  uint64_t frames = 0;
  uint64_t detections = 0;
};

/// Writes one line per frame with the moving objects in it. Throws segmask::UserError for errors that the
/// user can fix; no output is left behind then.
Result produce(const Options& options);

}  // namespace motion_producer
