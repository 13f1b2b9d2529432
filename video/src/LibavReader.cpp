#include "src/LibavReader.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>

#include "io/FileDescriptor.h"
#include "io/Interrupt.h"
#include "io/UserError.h"
#include "src/matroska_end.h"
#include "src/png_chunks.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

constexpr AVRational kFallbackRate{30, 1};

/// More than the frames that any decoder has in progress: one that still reports errors after so many would
/// never end.
constexpr uint64_t kMostErrorsAtEnd = 1024;

/// libavformat's reader of Y4M adds the six bytes of a frame's mark to the error about such a size.
constexpr int kSizeOfNoPicture = AVERROR(EINVAL) + 6;

int stopReading(void*) {
  return Interrupt::requested() ? 1 : 0;
}

/// The address of a file for libavformat, which would read the part of a name before a colon as a protocol.
std::string addressOf(const std::string& path) {
  if (path == kStandardStream) return "pipe:" + std::to_string(STDIN_FILENO);
  std::error_code ignored;
  return fs::exists(path, ignored) ? "file:" + path : path;
}

std::string_view bytesOf(const AVPacket& packet) {
  return {reinterpret_cast<const char*>(packet.data), static_cast<std::size_t>(packet.size)};
}

std::string sizeText(int width, int height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

AVFieldOrder fieldOrderOf(const AVFrame& frame) {
  if (frame.interlaced_frame == 0) return AV_FIELD_PROGRESSIVE;
  return frame.top_field_first != 0 ? AV_FIELD_TT : AV_FIELD_BB;
}

/// The stream's, or that of the frame, which pictures and some codecs have.
std::optional<DisplayMatrix> displayMatrixOf(const AVStream& stream, const AVFrame& frame) {
  DisplayMatrix matrix;
  size_t size = 0;
  const uint8_t* bytes = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
  if (!bytes) {
    const AVFrameSideData* const data = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX);
    if (!data) return std::nullopt;
    bytes = data->data;
    size = data->size;
  }
  if (size < sizeof matrix) return std::nullopt;
  std::memcpy(matrix.data(), bytes, sizeof matrix);
  return matrix;
}

}  // namespace

LibavReader::LibavReader(std::string path, const ReadOptions& options) : path_(std::move(path)) {
  openInput();
  openDecoder();
  if (options.index) indexBuilder_.emplace(*stream_->codecpar);
  offerSideStreams(options.sideStreams);
  if (!decode()) throw UserError(path_ + ": no frame of its video stream can be decoded");
  describe(*decoded_);
  orient(*decoded_, options.keepRotation);
  for (const std::string& loss : lossesAsNv12(*decoded_)) remarks_.push_back(path_ + ": " + loss);
  firstIsDecoded_ = true;
}

void LibavReader::openInput() {
  AVFormatContext* context = avformat_alloc_context();
  if (!context) throw std::bad_alloc();
  context->interrupt_callback = {&stopReading, nullptr};
  // On failure avformat_open_input frees the context itself.
  const int error = avformat_open_input(&context, addressOf(path_).c_str(), nullptr, nullptr);
  std::error_code ignored;
  if (error == kSizeOfNoPicture && fs::is_regular_file(path_, ignored)) {
    throw UserError(path_ + ": its header says a size that no picture has");
  }
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
  stream_ = input_->streams[index];

  decoder_.reset(avcodec_alloc_context3(codec));
  if (!decoder_) throw std::bad_alloc();
  const int copied = avcodec_parameters_to_context(decoder_.get(), stream_->codecpar);
  if (copied < 0) fail(copied);
  decoder_->pkt_timebase = stream_->time_base;
  decoder_->thread_count = 0;
  // As PictureReader, which takes no picture that lacks a part.
  const std::string format = input_->iformat->name;
  arePictureFiles_ = format == "image2";
  const bool isPng = stream_->codecpar->codec_id == AV_CODEC_ID_PNG;
  arePngFiles_ = isPng && (arePictureFiles_ || format == "png_pipe");
  if (arePictureFiles_) decoder_->err_recognition = AV_EF_CRCCHECK | AV_EF_EXPLODE;
  const int opened = avcodec_open2(decoder_.get(), codec, nullptr);
  if (opened < 0) fail(opened);
}

void LibavReader::offerSideStreams(SideKinds kinds) {
  if (kinds != SideKinds::None) side_.setInput(*input_, *stream_);
  for (unsigned index = 0; index < input_->nb_streams; ++index) {
    AVStream& stream = *input_->streams[index];
    if (&stream == stream_) continue;
    const AVMediaType type = stream.codecpar->codec_type;
    const bool isWanted = type == AVMEDIA_TYPE_AUDIO ? kinds == SideKinds::All : kinds != SideKinds::None;
    // A demuxer discards the track that holds a file's chapters, which it gives as such.
    const bool isOffered = isWanted && stream.discard != AVDISCARD_ALL;
    if (isOffered && type == AVMEDIA_TYPE_VIDEO) {
      const bool isCover = (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
      side_.leaveOut(stream, isCover ? "it is a cover picture" : "one video alone is drawn");
    } else if (isOffered) {
      side_.add(stream);
    } else {
      stream.discard = AVDISCARD_ALL;
    }
  }
}

void LibavReader::describe(AVFrame& first) {
  format_.width = first.width;
  format_.height = first.height;
  format_.timeBase = stream_->time_base;
  const AVRational rate = av_guess_frame_rate(input_.get(), stream_, nullptr);
  format_.frameRate = rate.num > 0 && rate.den > 0 ? rate : kFallbackRate;
  format_.sampleAspect = av_guess_sample_aspect_ratio(input_.get(), stream_, &first);
  format_.color = colorTagsAsNv12(first);
  format_.fieldOrder = fieldOrderOf(first);
  storedWidth_ = first.width;
  storedHeight_ = first.height;

  if (stream_->nb_frames > 0) {
    frameCount_ = static_cast<uint64_t>(stream_->nb_frames);
  } else if (input_->duration > 0) {
    const AVRational microseconds{1, AV_TIME_BASE};
    const int64_t count = av_rescale_q(input_->duration, microseconds, av_inv_q(format_.frameRate));
    if (count > 0) frameCount_ = static_cast<uint64_t>(count);
  }
}

void LibavReader::orient(const AVFrame& first, bool keepRotation) {
  const std::optional<DisplayMatrix> matrix = displayMatrixOf(*stream_, first);
  const std::optional<Orientation> orientation = matrix ? orientationOf(*matrix) : exifOrientationOf(first);
  if (keepRotation || !orientation) {
    format_.displayMatrix = matrix;
    if (!orientation) remarks_.push_back(path_ + ": its rotation is no quarter turn and is left to players");
    return;
  }
  orientation_ = *orientation;
  if (orientation_.isUpright()) return;
  format_.fieldOrder = AV_FIELD_UNKNOWN;
  if (!orientation_.transposed) return;
  std::swap(format_.width, format_.height);
  std::swap(format_.sampleAspect.num, format_.sampleAspect.den);
}

bool LibavReader::next(Frame& frame) {
  if (Interrupt::requested()) return false;
  if (!std::exchange(firstIsDecoded_, false) && !decode()) return false;
  if (decoded_->width != storedWidth_ || decoded_->height != storedHeight_) {
    throw UserError(path_ + ": frame " + std::to_string(framesRead_) + " is " +
                    sizeText(decoded_->width, decoded_->height) + ", the ones before it are " +
                    sizeText(storedWidth_, storedHeight_));
  }
  if ((decoded_->flags & AV_FRAME_FLAG_CORRUPT) != 0 || decoded_->decode_error_flags != 0) ++damage_.frames;
  const bool turned = !orientation_.isUpright();
  try {
    converter_.convert(*decoded_, turned ? stored_ : frame.nv12);
  } catch (const UserError& error) {
    throw UserError(path_ + ": " + error.what());
  }
  if (turned) turn(stored_, {storedWidth_, storedHeight_}, orientation_, frame.nv12);
  frame.pts = timeOf(*decoded_);
  lastPts_ = frame.pts;
  ++framesRead_;
  return true;
}

bool LibavReader::decode() {
  while (!Interrupt::requested()) {
    const int error = avcodec_receive_frame(decoder_.get(), decoded_.get());
    if (error == 0) return true;
    if (error == AVERROR_EOF) return false;
    if (error == AVERROR(ENOMEM)) throw std::bad_alloc();
    if (error != AVERROR(EAGAIN)) {
      // Damaged input: the decoder goes on with what follows, and so do players.
      damagePacket();
      if (inputEnded_ && ++errorsAtEnd_ > kMostErrorsAtEnd) return false;
    }
    feed();
  }
  return false;
}

bool LibavReader::readPacket() {
  while (!inputEnded_) {
    av_packet_unref(packet_.get());
    const int error = av_read_frame(input_.get(), packet_.get());
    if (error < 0) {
      if (!Interrupt::requested()) {
        refuseCutOff();
        if (error != AVERROR_EOF) fail(error);
      }
      if (error == AVERROR_EOF) side_.end();
      inputEnded_ = true;
      break;
    }
    if (packet_->stream_index == stream_->index) {
      times_.moveVideo(*packet_, stream_->time_base);
      if (indexBuilder_) indexBuilder_->add(*packet_);
      if (indexBuilder_ && times_.jumps() > 0) indexBuilder_->setUnclear();
      return true;
    }
    times_.moveOther(*packet_, *input_->streams[packet_->stream_index]);
    side_.push(*packet_, path_);
  }
  return false;
}

void LibavReader::feed() {
  if (readPacket()) {
    // Without its data the decoder refuses it too, in its turn.
    if (arePngFiles_ && !hasAllPngRows(bytesOf(*packet_)))
      av_shrink_packet(packet_.get(), kPngSignatureBytes);
    if (avcodec_send_packet(decoder_.get(), packet_.get()) < 0) damagePacket();
    return;
  }
  // A decoder with several threads may report the damage of an earlier packet only now.
  const int error = avcodec_send_packet(decoder_.get(), nullptr);
  if (error < 0 && error != AVERROR_EOF) damagePacket();
}

void LibavReader::damagePacket() {
  if (arePictureFiles_) {
    std::error_code ignored;
    const bool isOne = framesRead_ == 0 && fs::exists(path_, ignored);
    throw UserError(path_ + ": " + (isOne ? "the picture" : "picture " + std::to_string(framesRead_)) +
                    " is damaged");
  }
  ++damage_.packets;
}

void LibavReader::goTo(const FrameEntry& entry) {
  avcodec_flush_buffers(decoder_.get());
  firstIsDecoded_ = false;
  inputEnded_ = false;
  framesRead_ = entry.frame;
  lastPts_ = entry.pts - 1;
  times_ = SteadyTimes();  // an input whose times jump has no entries
  // A container that counts by the times of showing leads to an earlier entry.
  const int error = av_seek_frame(input_.get(), stream_->index, entry.dts, AVSEEK_FLAG_BACKWARD);
  if (error < 0) throw NotAsIndexed(path_);
  while (readPacket()) {
    if (packet_->pts != entry.pts) continue;
    if (avcodec_send_packet(decoder_.get(), packet_.get()) < 0) throw NotAsIndexed(path_);
    return;
  }
  if (!Interrupt::requested()) throw NotAsIndexed(path_);
}

int64_t LibavReader::timeOf(const AVFrame& frame) const {
  const int64_t stamp = frame.best_effort_timestamp;
  if (framesRead_ == 0) return stamp == AV_NOPTS_VALUE ? 0 : stamp;
  if (stamp != AV_NOPTS_VALUE) return std::max(stamp, lastPts_ + 1);
  const int64_t step = av_rescale_q(1, av_inv_q(format_.frameRate), format_.timeBase);
  return lastPts_ + std::max<int64_t>(step, 1);
}

void LibavReader::refuseCutOff() const {
  // A pipe has no size, and says 0.
  const bool hasSize = input_->pb && (input_->pb->seekable & AVIO_SEEKABLE_NORMAL) != 0;
  const int64_t size = hasSize ? avio_size(input_->pb) : -1;
  if (size < 0) return;
  for (unsigned index = 0; index < input_->nb_streams; ++index) {
    AVStream* const stream = input_->streams[index];
    const int entries = avformat_index_get_entries_count(stream);
    if (entries == 0 || stream->discard == AVDISCARD_ALL) continue;
    const AVIndexEntry& last = *avformat_index_get_entry(stream, entries - 1);
    if (last.pos + last.size > size)
      failCutOff(size, "table " + std::to_string(last.pos + last.size) + " or more");
  }
  std::error_code ignored;
  const bool isMatroska = std::string(input_->iformat->name).rfind("matroska", 0) == 0;
  const std::optional<uint64_t> end =
      isMatroska && fs::is_regular_file(path_, ignored) ? matroskaEnd(path_) : std::nullopt;
  if (end && *end > static_cast<uint64_t>(size)) failCutOff(size, "header " + std::to_string(*end));
}

void LibavReader::failCutOff(int64_t size, const std::string& expected) const {
  throw UserError(path_ + ": the file is cut off: it has " + std::to_string(size) +
                  " bytes, and by its own " + expected);
}

void LibavReader::fail(int error) const {
  throw UserError(path_ + ": " + libavErrorText(error));
}

}  // namespace segmask
