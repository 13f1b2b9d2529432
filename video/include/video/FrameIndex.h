#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace segmask {

/// A frame at which decoding may begin: its pixels and those of all later frames are then what they are when
/// decoding begins at the first frame.
struct FrameEntry {
  uint64_t frame = 0;
  int64_t pts = 0;  ///< of the frame, in ticks of its video
  int64_t dts = 0;  ///< when it is decoded; not later than pts
};

/// Where the frames of a video are, as its packets tell without being decoded.
///
/// It is true of a video that decodes without an error. Damage and streams that contradict their container
/// make it untrue, so what relies on it compares the frames' times.
struct FrameIndex {
  uint64_t packets = 0;             ///< that there are frames, if each packet becomes one
  std::vector<int64_t> times;       ///< of the frames in their order, in ticks; empty where it is not known
  std::vector<FrameEntry> entries;  ///< in their order; empty where times are

  /// The last entry that is not after this frame.
  std::optional<FrameEntry> entryBefore(uint64_t frame) const;
};

}  // namespace segmask
