#pragma once

#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

namespace segmask {

struct LibavDeleter {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
  void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};

using AVFramePtr = std::unique_ptr<AVFrame, LibavDeleter>;
using AVPacketPtr = std::unique_ptr<AVPacket, LibavDeleter>;
using AVCodecContextPtr = std::unique_ptr<AVCodecContext, LibavDeleter>;
using SwsContextPtr = std::unique_ptr<SwsContext, LibavDeleter>;

/// A context opened for reading.
struct InputDeleter {
  void operator()(AVFormatContext* input) const { avformat_close_input(&input); }
};
using InputPtr = std::unique_ptr<AVFormatContext, InputDeleter>;

/// A context for writing, with the file it writes to. Closing the file here loses the error of its last
/// write; close it with avio_closep to get that.
struct OutputDeleter {
  void operator()(AVFormatContext* output) const {
    avio_closep(&output->pb);
    avformat_free_context(output);
  }
};
using OutputPtr = std::unique_ptr<AVFormatContext, OutputDeleter>;

/// Never empty: these throw std::bad_alloc.
AVFramePtr makeAVFrame();
AVPacketPtr makeAVPacket();

/// A frame with sample buffers of its own, aligned and padded as libav's fast paths need them.
AVFramePtr makeAVFrame(AVPixelFormat pixelFormat, int width, int height);

/// The message of a libav error number.
std::string libavErrorText(int error);

/// Turns off the libav libraries' messages on standard error: the user gets this program's own messages.
void silenceLibav();

}  // namespace segmask
