#pragma once

#include <string>

#include "src/H264Encoder.h"
#include "src/Muxer.h"
#include "video/FrameWriter.h"

namespace segmask {

/// Writes H.264 into an MP4 or Matroska file, with the input's time stamps and colour tags, and the side
/// streams that the container can hold.
class H264Writer : public FrameWriter {
 public:
  /// `container` is libavformat's name of it. Throws UserError also when libavcodec has no H.264 encoder.
  H264Writer(const std::string& path, const std::string& container, const VideoFormat& format,
             const WriteOptions& options);

  void write(const Frame& frame) override;
  void finish() override;
  std::string finishedFile() const override { return muxer_.stagedFile(); }
  void commit(Existing existing) override { muxer_.commit(existing); }

 private:
  void encode(const Frame* frame);

  Muxer muxer_;
  H264Encoder encoder_;
};

}  // namespace segmask
