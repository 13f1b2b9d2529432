#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "video/libav_handles.h"

namespace segmask {

/// Makes the times of an input's packets go on where they jump back, as in recordings that were put one
/// behind the other into one file: what follows is moved, the video so that it goes on without a gap and the
/// other streams by as much.
///
/// The video alone decides by how much, so that its times are the same whether other streams are read or not.
/// Where its times return to those from before the last jump, as after one packet with a wrong time, they
/// stand again, and it was no jump. Sound whose time lies far ahead, for a short while, goes on where it was.
class SteadyTimes {
 public:
  /// To be called with each packet of the video, in the order of the file; moves its times.
  void moveVideo(AVPacket& packet, AVRational timeBase);

  /// The same of another stream.
  void moveOther(AVPacket& packet, const AVStream& stream);

  /// How often the video has jumped back. Falls where a jump turns out to be none.
  uint64_t jumps() const { return jumps_; }

 private:
  /// One of the other streams; in its own ticks.
  struct Other {
    int64_t shift = 0;
    std::optional<int64_t> end;  ///< of its last packet, where that is known
    int64_t stray = 0;           ///< how much of it in a row had a time far ahead
  };

  void follow(const AVPacket& packet);
  int64_t shiftOf(const Other& other, int64_t time, const AVStream& stream) const;
  bool isStray(const Other& other, int64_t time, const AVStream& stream) const;

  AVRational timeBase_{1, 1};  ///< of the video, whose ticks the following are
  int64_t shift_ = 0;
  int64_t before_ = 0;           ///< the shift before the last jump
  std::optional<int64_t> last_;  ///< when its last packet is decoded
  std::optional<int64_t> end_;   ///< when the last of its frames so far ends
  int64_t step_ = 0;             ///< how long that one lasts
  uint64_t jumps_ = 0;
  std::map<int, Other> others_;  ///< by the streams' numbers
};

}  // namespace segmask
