#include "src/H264Writer.h"

namespace segmask {

H264Writer::H264Writer(const std::string& path, const std::string& container, const VideoFormat& format,
                       const WriteOptions& options)
    : muxer_(path, container), encoder_(path, format, options.encoder, muxer_.wantsGlobalHeader()) {
  muxer_.open(encoder_.context(), format, options.side);
}

void H264Writer::write(const Frame& frame) {
  encode(&frame);
}

void H264Writer::finish() {
  encode(nullptr);
  muxer_.finish();
}

void H264Writer::encode(const Frame* frame) {
  encoder_.encode(frame, [this](AVPacket& packet) { muxer_.writeVideo(packet, encoder_.context()); });
}

}  // namespace segmask
