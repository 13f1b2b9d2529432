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
class SteadyTimes {
 public:
  /// To be called with each packet of the video, in the order of the file; moves its times.
  void moveVideo(AVPacket& packet, AVRational timeBase);

  /// The same of another stream.
  void moveOther(AVPacket& packet, const AVStream& stream);

  /// How often the video has jumped back.
  uint64_t jumps() const { return jumps_; }

 private:
  /// One of the other streams; in its own ticks.
  struct Other {
    int64_t shift = 0;
    std::optional<int64_t> end;  ///< of its last packet, where that is known
  };

  int64_t shiftOf(const Other& other, int64_t time, const AVStream& stream) const;

  AVRational timeBase_{1, 1};  ///< of the video, whose ticks the following are
  int64_t shift_ = 0;
  std::optional<int64_t> last_;  ///< when its last packet is decoded
  int64_t step_ = 0;             ///< how long that one lasts
  uint64_t jumps_ = 0;
  std::map<int, Other> others_;  ///< by the streams' numbers
};

}  // namespace segmask
