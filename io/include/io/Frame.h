#pragma once

#include <cstdint>
#include <vector>

namespace segmask {

/// One frame in host memory. Kept by its users and filled again and again, so that the buffer is allocated
/// once.
struct Frame {
  /// Tightly packed NV12: width x height luma bytes, then (height + 1) / 2 rows of 2 x ((width + 1) / 2)
  /// chroma bytes.
  std::vector<unsigned char> nv12;

  /// When the frame is shown, in ticks of its video's time base. Rises from frame to frame.
  int64_t pts = 0;
};

}  // namespace segmask
