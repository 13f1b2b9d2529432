#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "io/OutputPlace.h"
#include "video/SideStreams.h"
#include "video/VideoFormat.h"
#include "video/libav_handles.h"

namespace segmask {

/// A container that is written: one video stream, and the side streams that it can hold, in the order of
/// their times.
///
/// The video's packets come from the writer's thread, those of the side streams from the reader's. A side
/// packet waits until the video has come as far, so that nothing after the video's end has been written if
/// that comes early. kMostHeldBytes may wait; then the oldest is written, where a file has its streams far
/// apart.
class Muxer {
 public:
  static constexpr std::size_t kMostHeldBytes = std::size_t{16} << 20;

  /// `container` is libavformat's name of it. Errors name `path`.
  Muxer(const std::string& path, const std::string& container);
  ~Muxer();
  Muxer(const Muxer&) = delete;
  Muxer& operator=(const Muxer&) = delete;

  /// Whether encoders are to put their headers where the container has them.
  bool wantsGlobalHeader() const;

  /// Adds the video stream, and those of `side`, which may be null, that the container can hold, its titles
  /// and, at the end, its chapters. Writes the container's header.
  void open(const AVCodecContext& encoder, const VideoFormat& format, SideStreams* side);

  /// Takes what is in a packet of the encoder.
  void writeVideo(AVPacket& packet, const AVCodecContext& encoder);

  /// Writes what is missing. Where the side streams' input has not been read to its end, they end with the
  /// video.
  void finish();
  std::string stagedFile() const { return place_.stagedFile(); }
  void commit(Existing existing = Existing::Replaced) { place_.commit(existing); }

  /// Throws UserError for a libav error.
  void check(int error) const;

 private:
  struct Copy {
    const AVStream* input;
    AVStream* output;
    std::optional<int64_t> last;  ///< when the last packet is decoded, in ticks of the output
  };

  void addVideo(const AVCodecContext& encoder, const VideoFormat& format);
  void addCopies(SideStreams& side);
  bool canHold(const AVStream& stream) const;
  void hold(AVPacket& packet);
  void makeRise(AVPacket& packet, Copy& copy) const;
  void writeHeld(int64_t before, AVRational timeBase);
  void write(AVPacket& packet);
  bool isDamage(int error);

  std::string path_;
  OutputPlace place_;
  OutputPtr output_;
  SideStreams* side_ = nullptr;
  AVStream* video_ = nullptr;
  int64_t videoEnd_ = 0;  ///< in ticks of the video stream
  std::vector<Copy> copies_;
  std::mutex mutex_;  ///< of what follows, and of writing
  std::deque<AVPacketPtr> held_;
  std::size_t heldBytes_ = 0;
};

}  // namespace segmask
