#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <utility>

#include "io/FileDescriptor.h"
#include "io/Interrupt.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "src/Nv12Converter.h"
#include "src/Orientation.h"
#include "src/png_chunks.h"
#include "video/pictures.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

constexpr std::array<unsigned char, 4> kPng{0x89, 'P', 'N', 'G'};
constexpr std::array<unsigned char, 2> kJpeg{0xFF, 0xD8};

/// More than any picture that can be decoded.
constexpr std::uintmax_t kMostBytes = std::uintmax_t{1} << 30;

template <std::size_t kSize>
bool beginsWith(const AVPacket& file, const std::array<unsigned char, kSize>& sign) {
  return file.size >= static_cast<int>(kSize) && std::equal(sign.begin(), sign.end(), file.data);
}

AVCodecID codecOf(const AVPacket& file) {
  if (beginsWith(file, kPng)) return AV_CODEC_ID_PNG;
  return beginsWith(file, kJpeg) ? AV_CODEC_ID_MJPEG : AV_CODEC_ID_NONE;
}

AVPacketPtr readWhole(const std::string& path) {
  std::error_code error;
  if (fs::exists(path, error) && !fs::is_regular_file(path, error)) {
    throw UserError(path + ": is no regular file, which a picture has to be");
  }
  const FileDescriptor file = openForReading(path);
  const std::uintmax_t size = fs::file_size(path, error);
  if (error) throw systemError(path, error.value());
  if (size > kMostBytes) throw UserError(path + ": is larger than any picture");
  AVPacketPtr bytes = makeAVPacket();
  if (av_new_packet(bytes.get(), static_cast<int>(size)) < 0) throw std::bad_alloc();
  const std::size_t read = readFully(file.get(), bytes->data, static_cast<std::size_t>(size), path);
  av_shrink_packet(bytes.get(), static_cast<int>(read));
  return bytes;
}

AVFramePtr decode(const std::string& path) {
  const AVPacketPtr file = readWhole(path);
  const AVCodecID id = codecOf(*file);
  if (id == AV_CODEC_ID_NONE) throw UserError(path + ": is no picture, neither PNG nor JPEG");
  const AVCodec* const codec = avcodec_find_decoder(id);
  if (!codec) throw UserError(path + ": libavcodec has no decoder for it");
  const AVCodecContextPtr decoder(avcodec_alloc_context3(codec));
  if (!decoder) throw std::bad_alloc();
  // With several threads a decoder gives a picture only after later ones.
  decoder->thread_count = 1;
  decoder->err_recognition = AV_EF_CRCCHECK | AV_EF_EXPLODE;
  AVFramePtr picture = makeAVFrame();
  int error = avcodec_open2(decoder.get(), codec, nullptr);
  if (error == 0) error = avcodec_send_packet(decoder.get(), file.get());
  if (error == 0) error = avcodec_send_packet(decoder.get(), nullptr);
  if (error == 0) error = avcodec_receive_frame(decoder.get(), picture.get());
  if (error == AVERROR(ENOMEM)) throw std::bad_alloc();
  const std::string_view bytes(reinterpret_cast<const char*>(file->data),
                               static_cast<std::size_t>(file->size));
  if (error < 0 || (id == AV_CODEC_ID_PNG && !hasAllPngRows(bytes))) {
    throw UserError(path + ": the picture is damaged");
  }
  return picture;
}

VideoFormat describe(const AVFrame& picture, Orientation orientation) {
  VideoFormat format;
  format.width = orientation.transposed ? picture.height : picture.width;
  format.height = orientation.transposed ? picture.width : picture.height;
  format.color = colorTagsAsNv12(picture);
  return format;
}

}  // namespace

bool isPictureName(const std::string& path) {
  const std::string ending = lowerCaseEnding(path);
  return ending == ".png" || ending == ".jpg" || ending == ".jpeg";
}

std::vector<std::string> picturesOf(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    std::error_code ignored;
    if (name[0] == '.' || entry->is_directory(ignored)) continue;
    if (!isPictureName(name)) {
      throw UserError(entry->path().string() +
                      ": is no .png, .jpg or .jpeg; a folder of pictures holds nothing else");
    }
    names.push_back(name);
  }
  if (error) throw systemError(folder, error.value());
  if (names.empty()) throw UserError(folder + ": holds no picture (.png, .jpg or .jpeg)");
  // std::string compares its bytes as numbers without a sign.
  std::sort(names.begin(), names.end());
  for (std::string& name : names) name = (fs::path(folder) / name).string();
  return names;
}

PictureReader::PictureReader(std::vector<std::string> paths, bool keepRotation)
    : paths_(std::move(paths)), keepRotation_(keepRotation), formats_(paths_.size()) {
  read(first_.emplace());
}

void PictureReader::read(Frame& frame) {
  const std::string& path = paths_[read_];
  const AVFramePtr picture = decode(path);
  const Orientation orientation = keepRotation_ ? Orientation() : exifOrientationOf(*picture);
  formats_[read_] = describe(*picture, orientation);
  try {
    Nv12Converter().convert(*picture, orientation.isUpright() ? frame.nv12 : stored_);
  } catch (const UserError& error) {
    throw UserError(path + ": " + error.what());
  }
  if (!orientation.isUpright()) turn(stored_, {picture->width, picture->height}, orientation, frame.nv12);
  frame.pts = static_cast<int64_t>(read_);
  const std::vector<std::string> losses = lossesAsNv12(*picture);
  if (!losses.empty() && losers_++ == 0) firstLoss_ = path + ": " + losses.front();
  ++read_;
}

bool PictureReader::next(Frame& frame) {
  if (Interrupt::requested()) return false;
  if (first_) {
    frame = std::move(*first_);
    first_.reset();
    return true;
  }
  if (read_ == paths_.size()) return false;
  read(frame);
  return true;
}

std::vector<std::string> PictureReader::remarks() const {
  if (losers_ == 0) return {};
  if (losers_ == 1) return {firstLoss_};
  return {firstLoss_ + "; " + std::to_string(losers_) + " pictures lose something"};
}

}  // namespace segmask
