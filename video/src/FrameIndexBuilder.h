#pragma once

#include <cstdint>
#include <vector>

#include "video/FrameIndex.h"
#include "video/libav_handles.h"

namespace segmask {

/// Makes the index of a video of its packets. Entries are the frames that no other frame crosses, neither in
/// time nor by reference: of codecs whose frames are all coded by themselves, and of H.264 the IDR pictures.
class FrameIndexBuilder {
 public:
  explicit FrameIndexBuilder(const AVCodecParameters& codec);

  /// To be called with each packet of the video, in the order of the file.
  void add(const AVPacket& packet);

  /// The packets are not where their times say.
  void setUnclear() { isClear_ = false; }

  FrameIndex build() const;

 private:
  struct Packet {
    int64_t pts;
    int64_t dts;
    bool refersToNone;
  };

  bool refersToNone(const AVPacket& packet) const;

  AVCodecID codec_;
  bool isIntraOnly_;
  int lengthBytes_ = 0;  ///< before each unit of H.264; 0 where start codes separate them
  std::vector<Packet> packets_;
  bool isClear_ = true;  ///< every packet has its own time and is shown
};

}  // namespace segmask
