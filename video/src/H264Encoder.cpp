#include "src/H264Encoder.h"

#include <cstring>
#include <utility>

#include "io/UserError.h"
#include "io/nv12.h"

extern "C" {
#include <libavutil/opt.h>
}

namespace segmask {
namespace {

int evenDimension(int dimension) {
  return dimension + dimension % 2;
}

bool isInterlaced(const VideoFormat& format) {
  return format.fieldOrder != AV_FIELD_UNKNOWN && format.fieldOrder != AV_FIELD_PROGRESSIVE;
}

/// Repeats the last column and the last row of a luma plane whose picture has grown to even dimensions.
void repeatLastSamples(AVFrame& picture, int width, int height) {
  const auto stride = static_cast<std::ptrdiff_t>(picture.linesize[0]);
  unsigned char* const luma = picture.data[0];
  if (width < picture.width) {
    for (std::ptrdiff_t row = 0; row < height; ++row)
      luma[row * stride + width] = luma[row * stride + width - 1];
  }
  if (height < picture.height) {
    std::memcpy(luma + height * stride, luma + (height - 1) * stride,
                static_cast<std::size_t>(picture.width));
  }
}

}  // namespace

H264Encoder::H264Encoder(std::string path, const VideoFormat& format, const EncoderOptions& options,
                         bool globalHeader)
    : path_(std::move(path)), format_(format) {
  open(options, globalHeader);
  picture_ = makeAVFrame(AV_PIX_FMT_YUV420P, encoder_->width, encoder_->height);
}

void H264Encoder::open(const EncoderOptions& options, bool globalHeader) {
  const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
  if (!codec) codec = avcodec_find_encoder(AV_CODEC_ID_H264);
  if (!codec) throw UserError(path_ + ": libavcodec has no H.264 encoder");
  encoder_.reset(avcodec_alloc_context3(codec));
  if (!encoder_) throw std::bad_alloc();
  encoder_->width = evenDimension(format_.width);
  encoder_->height = evenDimension(format_.height);
  encoder_->pix_fmt = AV_PIX_FMT_YUV420P;
  encoder_->time_base = format_.timeBase;
  encoder_->framerate = format_.frameRate;
  encoder_->sample_aspect_ratio = format_.sampleAspect;
  encoder_->color_range = format_.color.range;
  encoder_->colorspace = format_.color.matrix;
  encoder_->color_primaries = format_.color.primaries;
  encoder_->color_trc = format_.color.transfer;
  encoder_->chroma_sample_location = format_.color.chromaLocation;
  encoder_->field_order = format_.fieldOrder;
  if (isInterlaced(format_)) encoder_->flags |= AV_CODEC_FLAG_INTERLACED_DCT;
  if (globalHeader) encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  setOption("preset", options.preset);
  setOption("crf", options.crf);
  const int error = avcodec_open2(encoder_.get(), codec, nullptr);
  if (error < 0) throw UserError(path_ + ": the H.264 encoder does not start: " + libavErrorText(error));
}

/// Encoders without the option use their own defaults.
void H264Encoder::setOption(const char* name, const std::string& value) {
  av_opt_set(encoder_->priv_data, name, value.c_str(), 0);
}

void H264Encoder::encode(const Frame* frame, const Sink& sink) {
  if (frame) fillPicture(*frame);
  check(avcodec_send_frame(encoder_.get(), frame ? picture_.get() : nullptr));
  for (;;) {
    const int error = avcodec_receive_packet(encoder_.get(), packet_.get());
    if (error == AVERROR(EAGAIN) || error == AVERROR_EOF) return;
    check(error);
    sink(*packet_);
    av_packet_unref(packet_.get());
  }
}

void H264Encoder::fillPicture(const Frame& frame) {
  // The encoder may still refer to the buffers of earlier pictures.
  if (av_frame_make_writable(picture_.get()) < 0) throw std::bad_alloc();
  const Nv12Layout layout{format_.width, format_.height};
  copyRows({frame.nv12.data(), layout.width}, {picture_->data[0], picture_->linesize[0]},
           static_cast<std::size_t>(layout.width), layout.height);
  deinterleaveChroma(
      {frame.nv12.data() + layout.lumaBytes(), static_cast<std::ptrdiff_t>(layout.chromaRowBytes())},
      {picture_->data[1], picture_->linesize[1]}, {picture_->data[2], picture_->linesize[2]},
      layout.chromaColumns(), layout.chromaRows());
  repeatLastSamples(*picture_, layout.width, layout.height);
  picture_->interlaced_frame = isInterlaced(format_) ? 1 : 0;
  picture_->top_field_first = format_.fieldOrder == AV_FIELD_TT ? 1 : 0;
  picture_->pts = av_rescale_q(frame.pts, format_.timeBase, encoder_->time_base);
}

void H264Encoder::check(int error) const {
  if (error < 0) throw UserError(path_ + ": " + libavErrorText(error));
}

}  // namespace segmask
