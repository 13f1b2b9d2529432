#include "video/PngEncoder.h"

#include <stdexcept>

#include "io/UserError.h"

extern "C" {
#include <libavutil/opt.h>
}

namespace segmask {

PngEncoder::PngEncoder(int width, int height, AVPixelFormat format) {
  const AVCodec* const codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
  if (!codec) throw UserError("libavcodec has no PNG encoder");
  encoder_.reset(avcodec_alloc_context3(codec));
  if (!encoder_) throw std::bad_alloc();
  encoder_->width = width;
  encoder_->height = height;
  encoder_->pix_fmt = format;
  encoder_->time_base = {1, 1};
  // One thread: with more, the encoder would return each picture only after later ones were sent.
  encoder_->thread_count = 1;
  // By default this encoder does not predict samples, which makes files of photographs twice as large and a
  // high compression level slow.
  encoder_->compression_level = 3;
  av_opt_set(encoder_->priv_data, "pred", "paeth", 0);
  const int error = avcodec_open2(encoder_.get(), codec, nullptr);
  if (error < 0) throw UserError("the PNG encoder does not start: " + libavErrorText(error));
}

std::string PngEncoder::encode(const AVFrame& picture) {
  int error = avcodec_send_frame(encoder_.get(), &picture);
  if (error == 0) error = avcodec_receive_packet(encoder_.get(), packet_.get());
  if (error < 0) throw std::runtime_error("the PNG encoder failed: " + libavErrorText(error));
  std::string bytes(reinterpret_cast<const char*>(packet_->data), static_cast<std::size_t>(packet_->size));
  av_packet_unref(packet_.get());
  return bytes;
}

}  // namespace segmask
