#pragma once

#include <string>

#include "io/StagedOutput.h"
#include "video/FrameWriter.h"
#include "video/libav_handles.h"

namespace segmask {

/// Writes H.264 (4:2:0, 8 bits) into an MP4 or Matroska file, with the input's time stamps and colour tags.
///
/// H.264 has no 4:2:0 pictures with an odd dimension. Where a dimension is odd, the picture grows by one
/// sample and the last column or row is repeated.
class H264Writer : public FrameWriter {
 public:
  /// `container` is libavformat's name of it. Throws UserError also when libavcodec has no H.264 encoder.
  H264Writer(const std::string& path, const std::string& container, const VideoFormat& format);

  void write(const Frame& frame) override;
  void finish() override;
  void commit() override { stage_.commit(); }

 private:
  void openEncoder(bool globalHeader);
  void openFile();
  void fillPicture(const Frame& frame);
  /// Passes a picture, or null for the end, to the encoder and writes the packets that it returns.
  void encode(const AVFrame* picture);
  void check(int error) const;

  std::string path_;
  VideoFormat format_;
  StagedOutput stage_;
  OutputPtr output_;
  AVStream* stream_ = nullptr;  ///< the output's
  AVCodecContextPtr encoder_;
  AVFramePtr picture_;
  AVPacketPtr packet_ = makeAVPacket();
};

}  // namespace segmask
