#include "video/SideStreams.h"

#include <algorithm>
#include <utility>

#include "io/UserError.h"

namespace segmask {
namespace {

std::string describe(const AVStream& stream) {
  const char* const kind = av_get_media_type_string(stream.codecpar->codec_type);
  return "stream " + std::to_string(stream.index) + " (" + (kind ? kind : "unknown") + ", " +
         avcodec_get_name(stream.codecpar->codec_id) + ")";
}

std::size_t bytesOf(const AVPacket& packet) {
  return static_cast<std::size_t>(packet.size) + sizeof packet;
}

int64_t timeOf(const AVPacket& packet) {
  return packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
}

}  // namespace

void SideStreams::push(AVPacket& packet, const std::string& path) {
  Stream* const stream = streamOf(packet);
  if (!stream || !stream->isCopied || isBeforeBeginning(packet, *stream)) return;
  if (sink_) {
    passOn(packet, *stream);
    return;
  }
  waitingBytes_ += bytesOf(packet);
  if (waitingBytes_ > kMostWaitingBytes) {
    throw UserError(path + ": more than " + std::to_string(kMostWaitingBytes >> 20) +
                    " MiB of sound and other streams come before the first frame that is drawn; "
                    "--no-audio leaves the sound out");
  }
  waiting_.push_back(makeAVPacket());
  av_packet_move_ref(waiting_.back().get(), &packet);
}

void SideStreams::leaveOut(AVStream& stream, const std::string& reason) {
  stream.discard = AVDISCARD_ALL;
  leftOut_.push_back(describe(stream) + " is left out: " + reason);
}

void SideStreams::leaveOut(Stream& stream, const std::string& reason) {
  stream.isCopied = false;
  leaveOut(*stream.input, reason);
}

void SideStreams::leaveOutAll(const std::string& reason) {
  for (Stream& stream : streams_) leaveOut(stream, reason);
  waiting_.clear();
}

void SideStreams::connect(Sink sink) {
  sink_ = std::move(sink);
  for (const AVPacketPtr& packet : std::exchange(waiting_, {})) {
    const Stream* const stream = streamOf(*packet);
    if (stream->isCopied) passOn(*packet, *stream);
  }
}

void SideStreams::beginAt(int64_t time, AVRational timeBase) {
  beginning_ = Beginning{time, timeBase};
  const auto isEarly = [this](const AVPacketPtr& packet) {
    const bool early = isBeforeBeginning(*packet, *streamOf(*packet));
    if (early) waitingBytes_ -= bytesOf(*packet);
    return early;
  };
  waiting_.erase(std::remove_if(waiting_.begin(), waiting_.end(), isEarly), waiting_.end());
}

int64_t SideStreams::beginningIn(AVRational timeBase) const {
  return beginning_ ? av_rescale_q(beginning_->time, beginning_->timeBase, timeBase) : 0;
}

SideStreams::Stream* SideStreams::streamOf(const AVPacket& packet) {
  const auto found = std::find_if(streams_.begin(), streams_.end(), [&packet](const Stream& stream) {
    return stream.input->index == packet.stream_index;
  });
  return found == streams_.end() ? nullptr : &*found;
}

bool SideStreams::isBeforeBeginning(const AVPacket& packet, const Stream& stream) const {
  const int64_t time = timeOf(packet);
  return beginning_ && time != AV_NOPTS_VALUE &&
         av_compare_ts(time, stream.input->time_base, beginning_->time, beginning_->timeBase) < 0;
}

void SideStreams::passOn(AVPacket& packet, const Stream& stream) {
  const int64_t shift = beginningIn(stream.input->time_base);
  if (packet.pts != AV_NOPTS_VALUE) packet.pts -= shift;
  if (packet.dts != AV_NOPTS_VALUE) packet.dts -= shift;
  sink_(packet);
}

}  // namespace segmask
