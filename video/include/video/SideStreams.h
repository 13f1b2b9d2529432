#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "video/libav_handles.h"

namespace segmask {

/// What an input has beside its video: streams (sound, subtitles, data), whose packets are copied to the
/// output as they are, titles and chapters. The reader pushes them as they come, the writer says what it
/// takes.
///
/// Packets that come before the writer is connected wait here; after that they go straight to it, in the
/// reader's thread, so nothing here grows with the input. All calls come from the reader's thread, but those
/// about damage.
class SideStreams {
 public:
  /// What may wait for the writer. A file with more than that before its first frame is not copied from.
  static constexpr std::size_t kMostWaitingBytes = std::size_t{64} << 20;

  /// One stream; it belongs to the reader, which must outlive this use.
  struct Stream {
    AVStream* input = nullptr;
    bool isCopied = true;
  };

  /// Gets each packet, with its times counted from the beginning (see beginAt) in its own stream's time base.
  /// It may change the packet and keep what is in it.
  using Sink = std::function<void(AVPacket&)>;

  // For the reader.

  /// The input, for its titles and chapters, and its video. They belong to the reader.
  void setInput(const AVFormatContext& input, const AVStream& video) {
    input_ = &input;
    video_ = &video;
  }

  void add(AVStream& stream) { streams_.push_back({&stream, true}); }

  /// Takes what is in the packet if its stream is copied. Throws UserError when too much waits; `path` is the
  /// input.
  void push(AVPacket& packet, const std::string& path);

  /// The input has ended: no packet is missing.
  void end() { ended_ = true; }

  // For the writer.

  std::vector<Stream>& streams() { return streams_; }

  /// This stream is not copied, because of `reason`.
  void leaveOut(AVStream& stream, const std::string& reason);

  /// The output does not take this one, because of `reason`.
  void leaveOut(Stream& stream, const std::string& reason);

  /// The same for all streams.
  void leaveOutAll(const std::string& reason);

  /// The input; null where nothing of it is wanted.
  const AVFormatContext* input() const { return input_; }
  const AVStream* video() const { return video_; }

  /// The input's time from which times count, in ticks of `timeBase`.
  int64_t beginningIn(AVRational timeBase) const;

  /// Passes on what waits, and from now on each packet.
  void connect(Sink sink);

  /// A packet is damaged, so that the output does not take it. From any thread.
  void countDamaged() { ++damaged_; }

  /// Whether the packets up to the end of the input were pushed.
  bool ended() const { return ended_; }

  // For who runs both.

  /// The output begins at this time of the input, in ticks of `timeBase`: earlier packets are dropped, times
  /// count from there. To be called before connect(), any number of times with rising times.
  void beginAt(int64_t time, AVRational timeBase);

  /// A sentence for each stream that was left out.
  const std::vector<std::string>& leftOut() const { return leftOut_; }

  /// The damaged packets so far. From any thread.
  uint64_t damaged() const { return damaged_; }

 private:
  Stream* streamOf(const AVPacket& packet);
  bool isBeforeBeginning(const AVPacket& packet, const Stream& stream) const;
  void passOn(AVPacket& packet, const Stream& stream);

  struct Beginning {
    int64_t time;
    AVRational timeBase;
  };

  const AVFormatContext* input_ = nullptr;
  const AVStream* video_ = nullptr;
  std::vector<Stream> streams_;
  std::deque<AVPacketPtr> waiting_;
  std::size_t waitingBytes_ = 0;
  std::optional<Beginning> beginning_;
  Sink sink_;
  bool ended_ = false;
  std::atomic<uint64_t> damaged_{0};
  std::vector<std::string> leftOut_;
};

}  // namespace segmask
