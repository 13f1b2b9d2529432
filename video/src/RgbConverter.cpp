#include "video/RgbConverter.h"

#include <stdexcept>

#include "io/nv12.h"

namespace segmask {

RgbConverter::RgbConverter(const VideoFormat& format, int width, int height)
    : nv12_(makeAVFrame(AV_PIX_FMT_NV12, format.width, format.height)),
      rgb_(makeAVFrame(AV_PIX_FMT_RGB24, width, height)) {
  constexpr int kFlags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT;
  scaler_.reset(sws_getContext(format.width, format.height, AV_PIX_FMT_NV12, width, height, AV_PIX_FMT_RGB24,
                               kFlags, nullptr, nullptr, nullptr));
  if (!scaler_) throw std::runtime_error("no conversion from NV12 to RGB");
  const int* const matrix = sws_getCoefficients(format.color.matrix);
  const int fullRange = format.color.range == AVCOL_RANGE_JPEG ? 1 : 0;
  sws_setColorspaceDetails(scaler_.get(), matrix, fullRange, matrix, 1, 0, 1 << 16, 1 << 16);
}

const AVFrame& RgbConverter::convert(const std::vector<unsigned char>& packed) {
  const Nv12Layout layout{nv12_->width, nv12_->height};
  // The scaler reads past the ends of rows, so it gets padded buffers instead of the packed frame.
  copyRows({packed.data(), layout.width}, {nv12_->data[0], nv12_->linesize[0]},
           static_cast<std::size_t>(layout.width), layout.height);
  copyRows({packed.data() + layout.lumaBytes(), static_cast<std::ptrdiff_t>(layout.chromaRowBytes())},
           {nv12_->data[1], nv12_->linesize[1]}, layout.chromaRowBytes(), layout.chromaRows());
  sws_scale(scaler_.get(), nv12_->data, nv12_->linesize, 0, layout.height, rgb_->data, rgb_->linesize);
  return *rgb_;
}

bool convertsAlike(const VideoFormat& a, const VideoFormat& b) {
  return a.width == b.width && a.height == b.height && a.color.range == b.color.range &&
         a.color.matrix == b.color.matrix;
}

}  // namespace segmask
