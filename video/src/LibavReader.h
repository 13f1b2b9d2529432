#pragma once

#include <string>

#include "src/Nv12Converter.h"
#include "video/FrameReader.h"
#include "video/libav_handles.h"

namespace segmask {

/// Reads the best video stream of whatever libavformat opens: a video file, an image, a stream's address.
///
/// Packets that do not decode are left out and counted; warning() reports them. Frames without a time stamp,
/// or with one that does not rise, get the next possible one.
class LibavReader : public FrameReader {
 public:
  /// Opens the file and decodes its first frame. Throws UserError when that is not possible.
  explicit LibavReader(std::string path);

  const VideoFormat& format() const override { return format_; }
  std::optional<uint64_t> frameCount() const override { return frameCount_; }
  bool next(Frame& frame) override;
  std::string warning() const override;

 private:
  void openInput();
  void openDecoder();
  void describe(const AVFrame& first);

  /// Decodes one frame into decoded_; false when there are no more.
  bool decode();
  /// Feeds the decoder one packet, or the end of the stream.
  void feed();
  int64_t timeOf(const AVFrame& frame) const;
  [[noreturn]] void fail(int error) const;

  std::string path_;
  InputPtr input_;
  AVStream* stream_ = nullptr;  ///< the input's
  AVCodecContextPtr decoder_;
  AVPacketPtr packet_ = makeAVPacket();
  AVFramePtr decoded_ = makeAVFrame();
  Nv12Converter converter_;
  VideoFormat format_;
  std::optional<uint64_t> frameCount_;
  bool firstIsDecoded_ = false;
  bool inputEnded_ = false;
  uint64_t framesRead_ = 0;
  uint64_t brokenPackets_ = 0;
  uint64_t errorsAtEnd_ = 0;
  int64_t lastPts_ = 0;
};

}  // namespace segmask
