#include "src/SteadyTimes.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace segmask {
namespace {

/// Less is no jump: containers round times, and streams lie a little apart.
constexpr AVRational kLeastJump{1, 2};

/// Sound that lies farther ahead of the video, in the order of the file, and of its own last packet than this
/// has a wrong time; or the video is about to follow it.
constexpr AVRational kFarAhead{10, 1};

/// When so much of it has come in a row, its times are right after all: the sound has a gap, and the file has
/// it far before its video. A wrong time of MPEG-TS is that of several packets.
constexpr AVRational kMostStray{2, 1};

int64_t ticksOf(AVRational seconds, AVRational timeBase) {
  return std::max<int64_t>(1, av_rescale_q(1, seconds, timeBase));
}

int64_t durationOf(const AVPacket& packet) {
  return std::max<int64_t>(1, packet.duration);
}

void move(AVPacket& packet, int64_t shift) {
  if (packet.pts != AV_NOPTS_VALUE) packet.pts += shift;
  if (packet.dts != AV_NOPTS_VALUE) packet.dts += shift;
}

}  // namespace

void SteadyTimes::moveVideo(AVPacket& packet, AVRational timeBase) {
  timeBase_ = timeBase;
  if (packet.dts != AV_NOPTS_VALUE) {
    if (last_) follow(packet);
    last_ = packet.dts + shift_;
    step_ = durationOf(packet);
  }
  move(packet, shift_);
  if (packet.pts == AV_NOPTS_VALUE) return;
  const int64_t end = packet.pts + durationOf(packet);
  end_ = end_ ? std::max(*end_, end) : end;
}

/// Sets the shift with which the packet goes on after the last one.
void SteadyTimes::follow(const AVPacket& packet) {
  const int64_t jump = ticksOf(kLeastJump, timeBase_);
  const int64_t next = *last_ + step_;
  if (packet.dts + shift_ < *last_ - jump) {
    before_ = std::exchange(shift_, next - packet.dts);
    // A recording begins with a key frame, and is shown after all of the one before it. By the times of
    // decoding alone the two would overlap by the decoder's delay.
    const bool isKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    if (isKey && end_ && packet.pts != AV_NOPTS_VALUE) shift_ = std::max(shift_, *end_ - packet.pts);
    ++jumps_;
  } else if (packet.dts + shift_ > next + jump && std::abs(packet.dts + before_ - next) <= jump) {
    shift_ = before_;
    --jumps_;
  }
}

/// A packet may belong to what lies before the video's last jump, or after the one that is to come. So the
/// shift is that of the video, or the stream's own where that keeps it nearer to the video.
int64_t SteadyTimes::shiftOf(const Other& other, int64_t time, const AVStream& stream) const {
  if (!last_) return other.shift;
  const int64_t now = av_rescale_q(*last_, timeBase_, stream.time_base);
  const int64_t jump = ticksOf(kLeastJump, stream.time_base);
  const int64_t videos = av_rescale_q(shift_, timeBase_, stream.time_base);
  const bool isNearer = std::abs(time + other.shift - now) + jump < std::abs(time + videos - now);
  const int64_t shift = isNearer ? other.shift : videos;
  // Subtitles need not be in order.
  const bool isSound = stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
  const bool isBack = isSound && other.end && time + shift < *other.end - jump;
  return isBack ? *other.end - time : shift;
}

bool SteadyTimes::isStray(const Other& other, int64_t time, const AVStream& stream) const {
  if (stream.codecpar->codec_type != AVMEDIA_TYPE_AUDIO || !last_ || !other.end) return false;
  const int64_t now = av_rescale_q(*last_, timeBase_, stream.time_base);
  return time > std::max(now, *other.end) + ticksOf(kFarAhead, stream.time_base) &&
         other.stray < ticksOf(kMostStray, stream.time_base);
}

void SteadyTimes::moveOther(AVPacket& packet, const AVStream& stream) {
  Other& other = others_[stream.index];
  int64_t shift = other.shift;
  if (packet.dts != AV_NOPTS_VALUE) {
    shift = shiftOf(other, packet.dts, stream);
    if (isStray(other, packet.dts + shift, stream)) {
      shift = *other.end - packet.dts;
      other.stray += durationOf(packet);
    } else {
      other.shift = shift;
      other.stray = 0;
    }
    other.end = packet.dts + shift + packet.duration;
  }
  move(packet, shift);
}

}  // namespace segmask
