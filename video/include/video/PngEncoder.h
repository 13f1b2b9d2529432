#pragma once

#include <string>

#include "video/libav_handles.h"

namespace segmask {

/// Encodes RGB pictures of one size as PNG files.
class PngEncoder {
 public:
  /// Throws UserError when libavcodec was built without PNG.
  PngEncoder(int width, int height);

  /// The bytes of a whole PNG file. `picture` is RGB24 of the encoder's size.
  std::string encode(const AVFrame& picture);

 private:
  AVCodecContextPtr encoder_;
  AVPacketPtr packet_ = makeAVPacket();
};

}  // namespace segmask
