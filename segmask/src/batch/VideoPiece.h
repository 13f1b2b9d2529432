#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "video/FrameIndex.h"

namespace segmask {

/// What the input's index says of the frames of a piece. Who relies on it compares their times.
struct IndexedFrames {
  std::optional<FrameEntry> entry;  ///< where decoding begins; empty: at the input's first frame
  uint64_t first = 0;               ///< the number of the piece's first frame in the input
  uint64_t frames = 0;
  int64_t beginning = 0;  ///< the input's time that is the output's time 0
  int64_t firstTime = 0;  ///< of the first frame, in ticks of the input
  int64_t lastTime = 0;
};

/// A part of a video that is drawn apart, in a process of its own, and joined with the others.
struct VideoPiece {
  std::size_t number = 0;
  uint64_t offset = 0;             ///< how many frames of the output come before it
  std::optional<uint64_t> frames;  ///< the most that it has; empty: up to the end of the input
  bool isLast = false;
  std::optional<IndexedFrames> indexed;
};

}  // namespace segmask
