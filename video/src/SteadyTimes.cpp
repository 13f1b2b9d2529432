#include "src/SteadyTimes.h"

#include <algorithm>
#include <cstdlib>

namespace segmask {
namespace {

/// Less is no jump: containers round times, and streams lie a little apart.
constexpr AVRational kLeastJump{1, 2};

int64_t leastJump(AVRational timeBase) {
  return std::max<int64_t>(1, av_rescale_q(1, kLeastJump, timeBase));
}

void move(AVPacket& packet, int64_t shift) {
  if (packet.pts != AV_NOPTS_VALUE) packet.pts += shift;
  if (packet.dts != AV_NOPTS_VALUE) packet.dts += shift;
}

}  // namespace

void SteadyTimes::moveVideo(AVPacket& packet, AVRational timeBase) {
  timeBase_ = timeBase;
  if (packet.dts != AV_NOPTS_VALUE) {
    if (last_ && packet.dts + shift_ < *last_ - leastJump(timeBase)) {
      shift_ = *last_ + step_ - packet.dts;
      ++jumps_;
    }
    last_ = packet.dts + shift_;
    step_ = std::max<int64_t>(packet.duration, 1);
  }
  move(packet, shift_);
}

/// A packet may belong to what lies before the video's last jump, or after the one that is to come. So the
/// shift is that of the video, or the stream's own where that keeps it nearer to the video.
int64_t SteadyTimes::shiftOf(const Other& other, int64_t time, const AVStream& stream) const {
  if (!last_) return other.shift;
  const int64_t now = av_rescale_q(*last_, timeBase_, stream.time_base);
  const int64_t jump = leastJump(stream.time_base);
  const int64_t videos = av_rescale_q(shift_, timeBase_, stream.time_base);
  const bool isNearer = std::abs(time + other.shift - now) + jump < std::abs(time + videos - now);
  const int64_t shift = isNearer ? other.shift : videos;
  // Subtitles need not be in order.
  const bool isSound = stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
  const bool isBack = isSound && other.end && time + shift < *other.end - jump;
  return isBack ? *other.end - time : shift;
}

void SteadyTimes::moveOther(AVPacket& packet, const AVStream& stream) {
  Other& other = others_[stream.index];
  if (packet.dts != AV_NOPTS_VALUE) {
    other.shift = shiftOf(other, packet.dts, stream);
    other.end = packet.dts + other.shift + packet.duration;
  }
  move(packet, other.shift);
}

}  // namespace segmask
