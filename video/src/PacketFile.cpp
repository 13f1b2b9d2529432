#include "src/PacketFile.h"

#include <cstdint>
#include <new>
#include <utility>

#include "io/UserError.h"

namespace segmask {
namespace {

/// What stands before the bytes of a packet.
struct PacketFacts {
  int64_t pts;
  int64_t dts;
  int64_t duration;
  int32_t flags;
  int32_t size;
};

}  // namespace

PacketFileWriter::PacketFileWriter(const std::string& path, const VideoFormat& format,
                                   const EncoderOptions& options)
    : place_(path), file_(place_.open()), encoder_(path, format, options, true) {
  const int32_t size = encoder_.context().extradata_size;
  file_.write(&size, sizeof size);
  file_.write(encoder_.context().extradata, static_cast<std::size_t>(size));
}

void PacketFileWriter::encode(const Frame* frame) {
  encoder_.encode(frame, [this](AVPacket& packet) {
    const PacketFacts facts{packet.pts, packet.dts, packet.duration, packet.flags, packet.size};
    file_.write(&facts, sizeof facts);
    file_.write(packet.data, static_cast<std::size_t>(packet.size));
  });
}

void PacketFileWriter::finish() {
  encode(nullptr);
  file_.close();
}

PacketFileReader::PacketFileReader(std::string path) : path_(std::move(path)), file_(openForReading(path_)) {
  int32_t size = 0;
  if (!read(&size, sizeof size) || size < 0) throw UserError(path_ + ": is no piece of a video");
  header_.resize(static_cast<std::size_t>(size));
  if (size > 0 && !read(header_.data(), header_.size())) throw UserError(path_ + ": is cut off");
}

bool PacketFileReader::next(AVPacket& packet) {
  PacketFacts facts{};
  if (!read(&facts, sizeof facts)) return false;
  if (facts.size <= 0) throw UserError(path_ + ": is no piece of a video");
  av_packet_unref(&packet);
  if (av_new_packet(&packet, facts.size) < 0) throw std::bad_alloc();
  if (!read(packet.data, static_cast<std::size_t>(facts.size))) throw UserError(path_ + ": is cut off");
  packet.pts = facts.pts;
  packet.dts = facts.dts;
  packet.duration = facts.duration;
  packet.flags = facts.flags;
  return true;
}

bool PacketFileReader::read(void* bytes, std::size_t size) {
  const std::size_t got = readFully(file_.get(), bytes, size, path_);
  if (got != 0 && got != size) throw UserError(path_ + ": is cut off");
  return got == size;
}

}  // namespace segmask
