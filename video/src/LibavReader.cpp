#include "src/LibavReader.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "io/Interrupt.h"
#include "io/UserError.h"

namespace segmask {
namespace {

constexpr AVRational kFallbackRate{30, 1};

/// More than the frames that any decoder has in progress: one that still reports errors after so many would
/// never end.
constexpr uint64_t kMostErrorsAtEnd = 1024;

int stopReading(void*) {
  return Interrupt::requested() ? 1 : 0;
}

/// The address of a file for libavformat, which would read the part of a name before a colon as a protocol.
std::string addressOf(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(path, ignored) ? "file:" + path : path;
}

std::string sizeText(int width, int height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

}  // namespace

LibavReader::LibavReader(std::string path) : path_(std::move(path)) {
  openInput();
  openDecoder();
  if (!decode()) throw UserError(path_ + ": no frame of its video stream can be decoded");
  describe(*decoded_);
  firstIsDecoded_ = true;
}

void LibavReader::openInput() {
  AVFormatContext* context = avformat_alloc_context();
  if (!context) throw std::bad_alloc();
  context->interrupt_callback = {&stopReading, nullptr};
  // On failure avformat_open_input frees the context itself.
  const int error = avformat_open_input(&context, addressOf(path_).c_str(), nullptr, nullptr);
  if (error < 0) fail(error);
  input_.reset(context);
  const int probed = avformat_find_stream_info(context, nullptr);
  if (probed < 0) fail(probed);
}

void LibavReader::openDecoder() {
  const AVCodec* codec = nullptr;
  const int index = av_find_best_stream(input_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
  if (index == AVERROR_DECODER_NOT_FOUND) throw UserError(path_ + ": no decoder for its video stream");
  const bool isCover = index >= 0 && (input_->streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
  if (index < 0 || isCover) throw UserError(path_ + ": no video stream");
  for (unsigned other = 0; other < input_->nb_streams; ++other) {
    if (static_cast<int>(other) != index) input_->streams[other]->discard = AVDISCARD_ALL;
  }
  stream_ = input_->streams[index];

  decoder_.reset(avcodec_alloc_context3(codec));
  if (!decoder_) throw std::bad_alloc();
  const int copied = avcodec_parameters_to_context(decoder_.get(), stream_->codecpar);
  if (copied < 0) fail(copied);
  decoder_->pkt_timebase = stream_->time_base;
  decoder_->thread_count = 0;
  const int opened = avcodec_open2(decoder_.get(), codec, nullptr);
  if (opened < 0) fail(opened);
}

void LibavReader::describe(const AVFrame& first) {
  format_.width = first.width;
  format_.height = first.height;
  format_.timeBase = stream_->time_base;
  const AVRational rate = av_guess_frame_rate(input_.get(), stream_, nullptr);
  format_.frameRate = rate.num > 0 && rate.den > 0 ? rate : kFallbackRate;
  format_.sampleAspect = first.sample_aspect_ratio;
  format_.color = colorTagsAsNv12(first);

  if (stream_->nb_frames > 0) {
    frameCount_ = static_cast<uint64_t>(stream_->nb_frames);
  } else if (input_->duration > 0) {
    const AVRational microseconds{1, AV_TIME_BASE};
    const int64_t count = av_rescale_q(input_->duration, microseconds, av_inv_q(format_.frameRate));
    if (count > 0) frameCount_ = static_cast<uint64_t>(count);
  }
}

bool LibavReader::next(Frame& frame) {
  if (Interrupt::requested()) return false;
  if (!std::exchange(firstIsDecoded_, false) && !decode()) return false;
  if (decoded_->width != format_.width || decoded_->height != format_.height) {
    throw UserError(path_ + ": frame " + std::to_string(framesRead_) + " is " +
                    sizeText(decoded_->width, decoded_->height) + ", the ones before it are " +
                    sizeText(format_.width, format_.height));
  }
  try {
    converter_.convert(*decoded_, frame.nv12);
  } catch (const UserError& error) {
    throw UserError(path_ + ": " + error.what());
  }
  frame.pts = timeOf(*decoded_);
  lastPts_ = frame.pts;
  ++framesRead_;
  return true;
}

std::string LibavReader::warning() const {
  if (brokenPackets_ == 0) return {};
  return path_ + ": " + std::to_string(brokenPackets_) +
         " packets could not be decoded; frames may be missing or damaged";
}

bool LibavReader::decode() {
  while (!Interrupt::requested()) {
    const int error = avcodec_receive_frame(decoder_.get(), decoded_.get());
    if (error == 0) return true;
    if (error == AVERROR_EOF) return false;
    if (error == AVERROR(ENOMEM)) throw std::bad_alloc();
    if (error != AVERROR(EAGAIN)) {
      // Damaged input: the decoder goes on with what follows, and so do players.
      ++brokenPackets_;
      if (inputEnded_ && ++errorsAtEnd_ > kMostErrorsAtEnd) return false;
    }
    feed();
  }
  return false;
}

void LibavReader::feed() {
  while (!inputEnded_) {
    av_packet_unref(packet_.get());
    const int error = av_read_frame(input_.get(), packet_.get());
    if (error < 0) {
      if (error != AVERROR_EOF && !Interrupt::requested()) fail(error);
      inputEnded_ = true;
      break;
    }
    if (packet_->stream_index != stream_->index) continue;
    if (avcodec_send_packet(decoder_.get(), packet_.get()) < 0) ++brokenPackets_;
    return;
  }
  // A decoder with several threads may report the damage of an earlier packet only now.
  const int error = avcodec_send_packet(decoder_.get(), nullptr);
  if (error < 0 && error != AVERROR_EOF) ++brokenPackets_;
}

int64_t LibavReader::timeOf(const AVFrame& frame) const {
  const int64_t stamp = frame.best_effort_timestamp;
  if (framesRead_ == 0) return stamp == AV_NOPTS_VALUE ? 0 : stamp;
  if (stamp != AV_NOPTS_VALUE) return std::max(stamp, lastPts_ + 1);
  const int64_t step = av_rescale_q(1, av_inv_q(format_.frameRate), format_.timeBase);
  return lastPts_ + std::max<int64_t>(step, 1);
}

void LibavReader::fail(int error) const {
  throw UserError(path_ + ": " + libavErrorText(error));
}

}  // namespace segmask
