#pragma once

#include <string>
#include <vector>

namespace plugin_test {

/// What a host can tell the plug-in's libraries from one another by, as the CPU device shows it. Whatever is
/// not here is the same, the drawn bytes first of all.
struct OverlayFacts {
  using Names = std::vector<std::string>;

  const char* file;

  // The calls of the CUDA runtime, in order; one that is made several times running is there once.
  Names first_frame;   ///< a new instance draws two detections
  Names next_frame;    ///< it draws them again
  Names out_of_sight;  ///< a new instance has detections outside the frame alone
  Names destruction;   ///< an instance goes that has drawn one frame

  /// Whether each detection has an upload and launches of its own; otherwise the frame has one of each. Then
  /// a call that fails costs the whole frame, otherwise what comes after it.
  bool draws_one_by_one;
  unsigned launches_an_upload;  ///< the planes each, or all at once

  /// Whether a mask of the frame's size is kept on the host and one on the device, so that the device memory
  /// and each upload have a byte for each pixel.
  bool keeps_frame_masks;
  bool frees_outgrown_memory;  ///< at once; otherwise when the instance goes

  int allocations_a_detection;  ///< of host memory, by drawing it once everything has grown

  unsigned uploads(unsigned detections) const { return draws_one_by_one || detections == 0 ? detections : 1; }
  unsigned launches(unsigned detections) const { return uploads(detections) * launches_an_upload; }
};

/// Those of the library at pluginPath(). Throws std::out_of_range for any other.
const OverlayFacts& overlayFacts();

}  // namespace plugin_test
