#pragma once

#include <cstdint>
#include <string>

namespace motion_producer {

struct Options {
  std::string input;        ///< a video of a fixed camera
  std::string output;       ///< JSON lines, replaced when the run succeeds
  int warmUp = 50;          ///< frames, spread over the video, that the background is learnt from first
  int maskWidth = 384;      ///< columns of the masks; rows follow from the frame's shape
  double minArea = 0.0005;  ///< share of the frame below which something that moves is noise
};

struct Result {
  uint64_t frames = 0;
  uint64_t detections = 0;
};

/// Writes one line a frame with what moves in it. Throws segmask::UserError for what the user can do
/// something about; nothing is left behind then.
Result produce(const Options& options);

}  // namespace motion_producer
