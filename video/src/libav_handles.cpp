#include "video/libav_handles.h"

#include <array>
#include <cerrno>
#include <new>
#include <string>

#include "io/UserError.h"

extern "C" {
#include <libavutil/log.h>
}

namespace segmask {

AVFramePtr makeAVFrame() {
  AVFramePtr frame(av_frame_alloc());
  if (!frame) throw std::bad_alloc();
  return frame;
}

AVPacketPtr makeAVPacket() {
  AVPacketPtr packet(av_packet_alloc());
  if (!packet) throw std::bad_alloc();
  return packet;
}

AVFramePtr makeAVFrame(AVPixelFormat pixelFormat, int width, int height) {
  AVFramePtr frame = makeAVFrame();
  frame->format = pixelFormat;
  frame->width = width;
  frame->height = height;
  const int error = av_frame_get_buffer(frame.get(), 0);
  if (error == AVERROR(ENOMEM)) throw std::bad_alloc();
  if (error < 0) {
    throw UserError("a picture of " + std::to_string(width) + "x" + std::to_string(height) +
                    " pixels cannot be made: " + libavErrorText(error));
  }
  return frame;
}

std::string libavErrorText(int error) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_strerror(error, text.data(), text.size());
  return text.data();
}

void silenceLibav() {
  av_log_set_level(AV_LOG_QUIET);
}

}  // namespace segmask
