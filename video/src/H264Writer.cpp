#include "src/H264Writer.h"

#include <algorithm>
#include <cstring>

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

H264Writer::H264Writer(const std::string& path, const std::string& container, const VideoFormat& format)
    : path_(path), format_(format), stage_(path) {
  AVFormatContext* context = nullptr;
  check(avformat_alloc_output_context2(&context, nullptr, container.c_str(), nullptr));
  output_.reset(context);
  stream_ = avformat_new_stream(context, nullptr);
  if (!stream_) throw std::bad_alloc();
  openEncoder((context->oformat->flags & AVFMT_GLOBALHEADER) != 0);
  openFile();
  picture_ = makeAVFrame(AV_PIX_FMT_YUV420P, encoder_->width, encoder_->height);
}

void H264Writer::openEncoder(bool globalHeader) {
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
  // A quality at which compression does not hide the overlay, at a speed that suits a laptop. Encoders
  // without these options use their own defaults.
  av_opt_set(encoder_->priv_data, "preset", "veryfast", 0);
  av_opt_set(encoder_->priv_data, "crf", "18", 0);
  const int error = avcodec_open2(encoder_.get(), codec, nullptr);
  if (error < 0) throw UserError(path_ + ": the H.264 encoder does not start: " + libavErrorText(error));
}

void H264Writer::openFile() {
  check(avcodec_parameters_from_context(stream_->codecpar, encoder_.get()));
  stream_->time_base = format_.timeBase;
  stream_->avg_frame_rate = format_.frameRate;
  stream_->sample_aspect_ratio = format_.sampleAspect;
  if (format_.displayMatrix) {
    uint8_t* const matrix =
        av_stream_new_side_data(stream_, AV_PKT_DATA_DISPLAYMATRIX, sizeof *format_.displayMatrix);
    if (!matrix) throw std::bad_alloc();
    std::memcpy(matrix, format_.displayMatrix->data(), sizeof *format_.displayMatrix);
  }
  check(avio_open(&output_->pb, ("file:" + stage_.path()).c_str(), AVIO_FLAG_WRITE));
  check(avformat_write_header(output_.get(), nullptr));
}

void H264Writer::write(const Frame& frame) {
  fillPicture(frame);
  picture_->interlaced_frame = isInterlaced(format_) ? 1 : 0;
  picture_->top_field_first = format_.fieldOrder == AV_FIELD_TT ? 1 : 0;
  picture_->pts = av_rescale_q(frame.pts, format_.timeBase, encoder_->time_base);
  encode(picture_.get());
}

void H264Writer::fillPicture(const Frame& frame) {
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
}

void H264Writer::encode(const AVFrame* picture) {
  check(avcodec_send_frame(encoder_.get(), picture));
  for (;;) {
    const int error = avcodec_receive_packet(encoder_.get(), packet_.get());
    if (error == AVERROR(EAGAIN) || error == AVERROR_EOF) return;
    check(error);
    av_packet_rescale_ts(packet_.get(), encoder_->time_base, stream_->time_base);
    packet_->stream_index = stream_->index;
    // Encoders do not set the duration, and a container cannot derive that of the last frame from time
    // stamps.
    if (packet_->duration == 0) {
      packet_->duration =
          std::max<int64_t>(1, av_rescale_q(1, av_inv_q(format_.frameRate), stream_->time_base));
    }
    check(av_interleaved_write_frame(output_.get(), packet_.get()));
    check(output_->pb->error);
  }
}

void H264Writer::finish() {
  encode(nullptr);
  check(av_write_trailer(output_.get()));
  avio_flush(output_->pb);
  check(output_->pb->error);
  check(avio_closep(&output_->pb));
}

void H264Writer::check(int error) const {
  if (error < 0) throw UserError(path_ + ": " + libavErrorText(error));
}

}  // namespace segmask
