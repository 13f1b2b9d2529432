#include "src/FrameIndexBuilder.h"

#include <algorithm>
#include <limits>

namespace segmask {
namespace {

constexpr unsigned kUnitTypeMask = 0x1F;
constexpr unsigned kFirstSlice = 1;
constexpr unsigned kIdrSlice = 5;

/// What the first byte of a unit of H.264 says about its picture.
enum class Unit { NoSlice, OtherSlice, IdrSlice };

Unit unitOf(uint8_t header) {
  const unsigned type = header & kUnitTypeMask;
  if (type == kIdrSlice) return Unit::IdrSlice;
  return type >= kFirstSlice && type < kIdrSlice ? Unit::OtherSlice : Unit::NoSlice;
}

/// The units are preceded by their lengths.
bool isIdrByLengths(const uint8_t* bytes, std::size_t size, std::size_t lengthBytes) {
  while (size > lengthBytes) {
    std::size_t length = 0;
    for (std::size_t i = 0; i < lengthBytes; ++i) length = length << 8 | bytes[i];
    const Unit unit = unitOf(bytes[lengthBytes]);
    if (unit != Unit::NoSlice) return unit == Unit::IdrSlice;
    if (length > size - lengthBytes) return false;
    bytes += lengthBytes + length;
    size -= lengthBytes + length;
  }
  return false;
}

/// The units are preceded by the bytes 0, 0, 1.
bool isIdrByStartCodes(const uint8_t* bytes, std::size_t size) {
  for (std::size_t i = 3; i < size; ++i) {
    if (bytes[i - 3] != 0 || bytes[i - 2] != 0 || bytes[i - 1] != 1) continue;
    const Unit unit = unitOf(bytes[i]);
    if (unit != Unit::NoSlice) return unit == Unit::IdrSlice;
  }
  return false;
}

}  // namespace

FrameIndexBuilder::FrameIndexBuilder(const AVCodecParameters& codec) : codec_(codec.codec_id) {
  const AVCodecDescriptor* const descriptor = avcodec_descriptor_get(codec_);
  isIntraOnly_ = descriptor && (descriptor->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
  constexpr int kLengthByte = 4;
  const bool hasLengths = codec.extradata_size > kLengthByte && codec.extradata[0] == 1;
  if (hasLengths) lengthBytes_ = (codec.extradata[kLengthByte] & 3) + 1;
}

void FrameIndexBuilder::add(const AVPacket& packet) {
  constexpr int kUnclear = AV_PKT_FLAG_DISCARD | AV_PKT_FLAG_CORRUPT;
  if (packet.pts == AV_NOPTS_VALUE || (packet.flags & kUnclear) != 0) isClear_ = false;
  const int64_t dts = packet.dts == AV_NOPTS_VALUE ? packet.pts : std::min(packet.dts, packet.pts);
  packets_.push_back({packet.pts, dts, refersToNone(packet)});
}

bool FrameIndexBuilder::refersToNone(const AVPacket& packet) const {
  if (packet.size <= 0) return false;
  if (isIntraOnly_) return true;
  if (codec_ != AV_CODEC_ID_H264 || (packet.flags & AV_PKT_FLAG_KEY) == 0) return false;
  const auto size = static_cast<std::size_t>(packet.size);
  return lengthBytes_ == 0 ? isIdrByStartCodes(packet.data, size)
                           : isIdrByLengths(packet.data, size, static_cast<std::size_t>(lengthBytes_));
}

FrameIndex FrameIndexBuilder::build() const {
  FrameIndex index;
  index.packets = packets_.size();
  if (!isClear_) return index;
  std::vector<int64_t> times;
  for (const Packet& packet : packets_) times.push_back(packet.pts);
  std::sort(times.begin(), times.end());
  if (std::adjacent_find(times.begin(), times.end()) != times.end()) return index;
  int64_t latest = std::numeric_limits<int64_t>::min();
  for (std::size_t i = 0; i < packets_.size(); ++i) {
    const Packet& packet = packets_[i];
    // All packets before it are shown before it, and as many frames are: none that comes later is among them.
    const bool isUncrossed = latest < packet.pts && times[i] == packet.pts;
    if (packet.refersToNone && isUncrossed) index.entries.push_back({i, packet.pts, packet.dts});
    latest = std::max(latest, packet.pts);
  }
  index.times = std::move(times);
  return index;
}

}  // namespace segmask
