#include "src/Muxer.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

#include "io/UserError.h"
#include "src/container_texts.h"

namespace segmask {
namespace {

std::size_t bytesOf(const AVPacket& packet) {
  return static_cast<std::size_t>(packet.size) + sizeof packet;
}

int64_t timeOf(const AVPacket& packet) {
  return packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
}

/// What libavformat opens.
std::string addressOf(const OutputPlace& place) {
  return place.path() == kStandardStream ? "pipe:" + std::to_string(STDOUT_FILENO) : "file:" + place.path();
}

/// Matroska needs the name and the kind of the file that is attached.
bool isWholeAttachment(const AVStream& stream) {
  const auto has = [&stream](const char* key) { return av_dict_get(stream.metadata, key, nullptr, 0); };
  return has("filename") && has("mimetype") && stream.codecpar->extradata_size > 0;
}

bool hasWavTag(AVCodecID codec) {
  const std::array<const AVCodecTag*, 2> tags{avformat_get_riff_audio_tags(), nullptr};
  return av_codec_get_tag(tags.data(), codec) != 0;
}

}  // namespace

Muxer::Muxer(const std::string& path, const std::string& container) : path_(path), place_(path) {
  AVFormatContext* context = nullptr;
  check(avformat_alloc_output_context2(&context, nullptr, container.c_str(), nullptr));
  output_.reset(context);
  // What the container has a place for is copied, though its standard be young, as that of FLAC in MP4.
  context->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
}

Muxer::~Muxer() {
  if (side_) side_->connect([](AVPacket&) {});
}

bool Muxer::wantsGlobalHeader() const {
  return (output_->oformat->flags & AVFMT_GLOBALHEADER) != 0;
}

void Muxer::open(const AVCodecContext& encoder, const VideoFormat& format, SideStreams* side) {
  addVideo(encoder, format);
  if (side) {
    copyTitles(*side, *output_, *video_);
    addCopies(*side);
    // Who reads a stream does not find what comes at its end, so it gets the chapters before that is known.
    if (place_.isStream()) copyChapters(*side, *output_, std::nullopt, video_->time_base);
  }
  check(avio_open(&output_->pb, addressOf(place_).c_str(), AVIO_FLAG_WRITE));
  check(avformat_write_header(output_.get(), nullptr));
  if (!side) return;
  side_ = side;
  side_->connect([this](AVPacket& packet) { hold(packet); });
}

void Muxer::addVideo(const AVCodecContext& encoder, const VideoFormat& format) {
  video_ = avformat_new_stream(output_.get(), nullptr);
  if (!video_) throw std::bad_alloc();
  check(avcodec_parameters_from_context(video_->codecpar, &encoder));
  video_->time_base = format.timeBase;
  video_->avg_frame_rate = format.frameRate;
  video_->sample_aspect_ratio = format.sampleAspect;
  if (!format.displayMatrix) return;
  constexpr std::size_t kBytes = sizeof *format.displayMatrix;
  uint8_t* const matrix = av_stream_new_side_data(video_, AV_PKT_DATA_DISPLAYMATRIX, kBytes);
  if (!matrix) throw std::bad_alloc();
  std::memcpy(matrix, format.displayMatrix->data(), kBytes);
}

bool Muxer::canHold(const AVStream& stream) const {
  const AVCodecParameters& codec = *stream.codecpar;
  const bool isMatroska = output_->oformat->name == std::string("matroska");
  if (codec.codec_type == AVMEDIA_TYPE_ATTACHMENT) return isMatroska && isWholeAttachment(stream);
  if (codec.codec_id == AV_CODEC_ID_NONE) return false;
  if (avformat_query_codec(output_->oformat, codec.codec_id, FF_COMPLIANCE_NORMAL) == 1) return true;
  // Sound that has no name of its own there goes by that of WAV.
  return isMatroska && codec.codec_type == AVMEDIA_TYPE_AUDIO && hasWavTag(codec.codec_id);
}

void Muxer::addCopies(SideStreams& side) {
  for (SideStreams::Stream& stream : side.streams()) {
    const AVStream& input = *stream.input;
    if (!canHold(input)) {
      side.leaveOut(stream, std::string(output_->oformat->name) + " cannot hold it");
      continue;
    }
    AVStream* const copy = avformat_new_stream(output_.get(), nullptr);
    if (!copy) throw std::bad_alloc();
    check(avcodec_parameters_copy(copy->codecpar, input.codecpar));
    copy->codecpar->codec_tag = 0;  // each container has its own
    copy->time_base = input.time_base;
    copy->disposition = input.disposition;
    check(av_dict_copy(&copy->metadata, input.metadata, 0));
    copies_.push_back({&input, copy, std::nullopt});
  }
}

void Muxer::writeVideo(AVPacket& packet, const AVCodecContext& encoder) {
  av_packet_rescale_ts(&packet, encoder.time_base, video_->time_base);
  packet.stream_index = video_->index;
  // Encoders do not set the duration, and a container cannot derive that of the last frame from time stamps.
  if (packet.duration == 0) {
    packet.duration = std::max<int64_t>(1, av_rescale_q(1, av_inv_q(encoder.framerate), video_->time_base));
  }
  videoEnd_ = std::max(videoEnd_, packet.pts + packet.duration);
  const std::lock_guard<std::mutex> lock(mutex_);
  writeHeld(packet.dts, video_->time_base);
  write(packet);
}

/// A time of decoding that does not rise, which containers refuse, becomes the next possible one.
void Muxer::makeRise(AVPacket& packet, Copy& copy) const {
  if (packet.dts == AV_NOPTS_VALUE) return;
  const AVMediaType type = copy.input->codecpar->codec_type;
  const bool mayStay = (output_->oformat->flags & AVFMT_TS_NONSTRICT) != 0 || type == AVMEDIA_TYPE_SUBTITLE ||
                       type == AVMEDIA_TYPE_DATA;
  if (copy.last) packet.dts = std::max(packet.dts, *copy.last + (mayStay ? 0 : 1));
  if (packet.pts != AV_NOPTS_VALUE) packet.pts = std::max(packet.pts, packet.dts);
  copy.last = packet.dts;
}

void Muxer::hold(AVPacket& packet) {
  const auto copy = std::find_if(copies_.begin(), copies_.end(), [&packet](const Copy& one) {
    return one.input->index == packet.stream_index;
  });
  if (copy == copies_.end() || timeOf(packet) == AV_NOPTS_VALUE) return;
  av_packet_rescale_ts(&packet, copy->input->time_base, copy->output->time_base);
  packet.stream_index = copy->output->index;
  packet.pos = -1;
  makeRise(packet, *copy);
  const std::lock_guard<std::mutex> lock(mutex_);
  heldBytes_ += bytesOf(packet);
  held_.push_back(makeAVPacket());
  av_packet_move_ref(held_.back().get(), &packet);
  while (heldBytes_ > kMostHeldBytes) {
    const AVPacketPtr oldest = std::move(held_.front());
    held_.pop_front();
    heldBytes_ -= bytesOf(*oldest);
    write(*oldest);
  }
}

/// Writes the held packets that begin before this time.
void Muxer::writeHeld(int64_t before, AVRational timeBase) {
  for (AVPacketPtr& packet : held_) {
    const AVRational own = output_->streams[packet->stream_index]->time_base;
    if (av_compare_ts(timeOf(*packet), own, before, timeBase) >= 0) continue;
    heldBytes_ -= bytesOf(*packet);
    write(*packet);
    packet.reset();
  }
  held_.erase(std::remove(held_.begin(), held_.end(), nullptr), held_.end());
}

void Muxer::write(AVPacket& packet) {
  const int error = av_interleaved_write_frame(output_.get(), &packet);
  if (!isDamage(error)) check(error);
  check(output_->pb->error);
}

/// Whether a packet that is copied is damaged, which has then been left out. It may be an earlier one, which
/// waited in libavformat. Those of the encoder are right.
bool Muxer::isDamage(int error) {
  if (error != AVERROR_INVALIDDATA || copies_.empty()) return false;
  side_->countDamaged();
  return true;
}

void Muxer::finish() {
  // Whoever stopped early has not asked for what comes later.
  const bool isWhole = side_ && side_->ended();
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    writeHeld(isWhole ? INT64_MAX : videoEnd_, video_->time_base);
    held_.clear();
    // The trailer would write the packets that wait only up to a damaged one.
    int error = 0;
    while (isDamage(error = av_interleaved_write_frame(output_.get(), nullptr))) {
    }
    check(error);
  }
  if (side_ && !place_.isStream()) {
    copyChapters(*side_, *output_, isWhole ? std::nullopt : std::optional(videoEnd_), video_->time_base);
  }
  check(av_write_trailer(output_.get()));
  avio_flush(output_->pb);
  check(output_->pb->error);
  check(avio_closep(&output_->pb));
}

void Muxer::check(int error) const {
  if (error == AVERROR(EPIPE)) throw ClosedPipe(path_);
  if (error < 0) throw UserError(path_ + ": " + libavErrorText(error));
}

}  // namespace segmask
