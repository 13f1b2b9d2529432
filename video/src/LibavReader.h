#pragma once

#include <optional>
#include <string>
#include <vector>

#include "src/FrameIndexBuilder.h"
#include "src/Nv12Converter.h"
#include "src/Orientation.h"
#include "src/SteadyTimes.h"
#include "video/FrameReader.h"
#include "video/libav_handles.h"

namespace segmask {

/// Reads the best video stream of whatever libavformat opens: a video file, an image, a stream's address.
///
/// Packets that do not decode are left out and counted as damage, but those of picture files, which have to
/// be whole. Frames without a time stamp, or with one that does not rise, get the next possible one; where
/// the time stamps jump back, all streams are moved (SteadyTimes). A file that ends before its own table of
/// frames does is an error when that end is met.
class LibavReader : public FrameReader {
 public:
  /// Opens the file and decodes its first frame. Throws UserError when that is not possible.
  explicit LibavReader(std::string path, const ReadOptions& options = {});

  const VideoFormat& format() const override { return format_; }
  std::optional<uint64_t> frameCount() const override { return frameCount_; }
  bool next(Frame& frame) override;
  std::string warning() const override { return damageWarning(path_, damage()); }
  Damage damage() const override { return {damage_.packets, damage_.frames, side_.damaged()}; }
  uint64_t timeJumps() const override { return times_.jumps(); }
  SideStreams* sideStreams() override { return &side_; }
  std::vector<std::string> remarks() const override { return remarks_; }
  bool passOver() override { return readPacket(); }
  FrameIndex index() const override { return indexBuilder_ ? indexBuilder_->build() : FrameIndex(); }
  void goTo(const FrameEntry& entry) override;

 private:
  void openInput();
  void openDecoder();
  /// Offers every other stream that is no video, the titles and the chapters.
  void offerSideStreams(SideKinds kinds);
  void describe(AVFrame& first);
  /// Decides how frames are turned, or that players are to do it.
  void orient(const AVFrame& first, bool keepRotation);

  /// Decodes one frame into decoded_; false when there are no more.
  bool decode();
  /// Reads the next packet of the video into packet_; false at the end. Those of the side streams before it
  /// are passed on.
  bool readPacket();
  /// Feeds the decoder one packet, or the end of the stream.
  void feed();
  /// A packet does not decode. Throws UserError where it is a picture.
  void damagePacket();
  int64_t timeOf(const AVFrame& frame) const;
  /// Throws UserError when the file ends before the last packet of its tables, or before its header says.
  void refuseCutOff() const;
  [[noreturn]] void failCutOff(int64_t size, const std::string& expected) const;
  [[noreturn]] void fail(int error) const;

  std::string path_;
  InputPtr input_;
  AVStream* stream_ = nullptr;  ///< the input's
  AVCodecContextPtr decoder_;
  AVPacketPtr packet_ = makeAVPacket();
  AVFramePtr decoded_ = makeAVFrame();
  Nv12Converter converter_;
  int storedWidth_ = 0;
  int storedHeight_ = 0;
  Orientation orientation_;
  std::vector<unsigned char> stored_;  ///< a frame before it is turned
  VideoFormat format_;
  SideStreams side_;
  SteadyTimes times_;
  std::vector<std::string> remarks_;
  std::optional<FrameIndexBuilder> indexBuilder_;
  std::optional<uint64_t> frameCount_;
  bool arePictureFiles_ = false;
  bool arePngFiles_ = false;  ///< the packets, of files or of a stream of such
  bool firstIsDecoded_ = false;
  bool inputEnded_ = false;
  uint64_t framesRead_ = 0;
  Damage damage_;
  uint64_t errorsAtEnd_ = 0;
  int64_t lastPts_ = 0;
};

}  // namespace segmask
