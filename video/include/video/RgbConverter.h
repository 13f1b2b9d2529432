#pragma once

#include <vector>

#include "video/VideoFormat.h"
#include "video/libav_handles.h"

namespace segmask {

/// Converts packed NV12 frames of one video to RGB pictures of one size.
class RgbConverter {
 public:
  /// Pictures of `width` x `height`; where that is not the video's size, frames are scaled.
  RgbConverter(const VideoFormat& format, int width, int height);

  /// The picture, 24 bits RGB, owned by the converter and valid until the next call.
  const AVFrame& convert(const std::vector<unsigned char>& packed);

 private:
  AVFramePtr nv12_;
  AVFramePtr rgb_;
  SwsContextPtr scaler_;
};

/// Whether a converter that was made for frames of the one format converts those of the other alike.
bool convertsAlike(const VideoFormat& a, const VideoFormat& b);

}  // namespace segmask
