#pragma once

#include <functional>
#include <string>

#include "io/Frame.h"
#include "video/FrameWriter.h"
#include "video/VideoFormat.h"
#include "video/libav_handles.h"

namespace segmask {

/// Encodes frames as H.264, 4:2:0, 8 bits.
///
/// H.264 has no 4:2:0 pictures with an odd dimension. Where a dimension is odd, the picture grows by one
/// sample and the last column or row is repeated.
class H264Encoder {
 public:
  /// Throws UserError that names `path` when libavcodec has no H.264 encoder or it refuses the options.
  H264Encoder(std::string path, const VideoFormat& format, const EncoderOptions& options, bool globalHeader);

  const AVCodecContext& context() const { return *encoder_; }

  using Sink = std::function<void(AVPacket&)>;

  /// Passes a frame, or null for the end, to the encoder, and each packet that it returns to `sink`.
  void encode(const Frame* frame, const Sink& sink);

 private:
  void open(const EncoderOptions& options, bool globalHeader);
  void setOption(const char* name, const std::string& value);
  void fillPicture(const Frame& frame);
  void check(int error) const;

  std::string path_;
  VideoFormat format_;
  AVCodecContextPtr encoder_;
  AVFramePtr picture_;
  AVPacketPtr packet_ = makeAVPacket();
};

}  // namespace segmask
