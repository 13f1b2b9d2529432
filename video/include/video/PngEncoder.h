#pragma once

#include <string>

#include "video/libav_handles.h"

namespace segmask {

/// Encodes pictures of one size and pixel format as PNG files.
class PngEncoder {
 public:
  /// Throws UserError when libavcodec was built without PNG.
  PngEncoder(int width, int height, AVPixelFormat format = AV_PIX_FMT_RGB24);

  /// The bytes of a whole PNG file. `picture` is of the encoder's size and format.
  std::string encode(const AVFrame& picture);

 private:
  AVCodecContextPtr encoder_;
  AVPacketPtr packet_ = makeAVPacket();
};

}  // namespace segmask
