#include "src/Nv12Converter.h"

#include <cstring>
#include <new>
#include <string>

#include "io/UserError.h"
#include "io/nv12.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace segmask {
namespace {

constexpr int kBits = 8;

const AVPixFmtDescriptor& describe(const AVFrame& frame) {
  return *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
}

bool isRgb(const AVFrame& frame) {
  return (describe(frame).flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
}

bool isGray(const AVFrame& frame) {
  return !isRgb(frame) && describe(frame).nb_components <= 2;
}

/// A palette has alpha always, and uses it seldom.
bool hasAlpha(const AVFrame& frame) {
  if ((describe(frame).flags & AV_PIX_FMT_FLAG_PAL) == 0) {
    return (describe(frame).flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
  }
  constexpr std::ptrdiff_t kColors = 256;
  constexpr unsigned char kOpaque = 255;
  for (std::ptrdiff_t i = 0; i < kColors; ++i) {
    uint32_t color = 0;
    std::memcpy(&color, frame.data[1] + i * static_cast<std::ptrdiff_t>(sizeof color), sizeof color);
    if (color >> 24 != kOpaque) return true;
  }
  return false;
}

/// The formats whose own definition is full range, which older files use.
bool isFullRangeFormat(int format) {
  return format == AV_PIX_FMT_YUVJ420P || format == AV_PIX_FMT_YUVJ422P || format == AV_PIX_FMT_YUVJ444P ||
         format == AV_PIX_FMT_YUVJ440P || format == AV_PIX_FMT_YUVJ411P;
}

void setScalerColors(SwsContext* scaler, const AVFrame& frame) {
  const ColorTags tags = colorTagsAsNv12(frame);
  const int fullRange = tags.range == AVCOL_RANGE_JPEG ? 1 : 0;
  const int* const matrix = sws_getCoefficients(tags.matrix);
  constexpr int kNeutral = 0;
  constexpr int kUnity = 1 << 16;
  // The same matrix and range for source and result: only the arrangement and the number of bits change. RGB
  // always has full range.
  const int sourceRange = isRgb(frame) ? 1 : fullRange;
  sws_setColorspaceDetails(scaler, matrix, sourceRange, matrix, fullRange, kNeutral, kUnity, kUnity);
}

/// The grey tones of 16 bits with alpha, which the scaler library would take for limited range.
AVFramePtr withoutAlpha(const AVFrame& frame) {
  const bool isBigEndian = frame.format == AV_PIX_FMT_YA16BE;
  AVFramePtr gray =
      makeAVFrame(isBigEndian ? AV_PIX_FMT_GRAY16BE : AV_PIX_FMT_GRAY16LE, frame.width, frame.height);
  if (av_frame_copy_props(gray.get(), &frame) < 0) throw std::bad_alloc();
  constexpr std::size_t kTone = 2;  // bytes, followed by as many of alpha
  for (int row = 0; row < frame.height; ++row) {
    const uint8_t* from = frame.data[0] + static_cast<std::ptrdiff_t>(row) * frame.linesize[0];
    uint8_t* to = gray->data[0] + static_cast<std::ptrdiff_t>(row) * gray->linesize[0];
    for (int column = 0; column < frame.width; ++column, from += 2 * kTone, to += kTone) {
      std::memcpy(to, from, kTone);
    }
  }
  return gray;
}

}  // namespace

ColorTags colorTagsAsNv12(const AVFrame& frame) {
  ColorTags tags;
  tags.range = frame.color_range;
  tags.matrix = frame.colorspace;
  tags.primaries = frame.color_primaries;
  tags.transfer = frame.color_trc;
  tags.chromaLocation = frame.chroma_location;
  if (isRgb(frame)) {
    tags.range = AVCOL_RANGE_MPEG;
    tags.matrix = AVCOL_SPC_SMPTE170M;
  } else if (isFullRangeFormat(frame.format) || (isGray(frame) && tags.range == AVCOL_RANGE_UNSPECIFIED)) {
    tags.range = AVCOL_RANGE_JPEG;
  }
  return tags;
}

std::vector<std::string> lossesAsNv12(const AVFrame& frame) {
  const AVPixFmtDescriptor& format = describe(frame);
  std::vector<std::string> losses;
  const auto add = [&](const std::string& what) { losses.push_back(what + " (" + format.name + ")"); };
  const int bits = format.comp[0].depth;
  if (bits > kBits) add("its " + std::to_string(bits) + " bits a sample become 8");
  const bool isFiner = format.log2_chroma_w < 1 || format.log2_chroma_h < 1;
  if (isFiner && !isRgb(frame) && !isGray(frame)) add("its chroma is reduced to one sample for 2x2 pixels");
  if (hasAlpha(frame)) add("its alpha is dropped");
  return losses;
}

void Nv12Converter::convert(const AVFrame& frame, std::vector<unsigned char>& packed) {
  const Nv12Layout layout{frame.width, frame.height};
  packed.resize(layout.frameBytes());
  const bool planar = frame.format == AV_PIX_FMT_YUV420P || frame.format == AV_PIX_FMT_YUVJ420P;
  const bool isGrayWithAlpha = frame.format == AV_PIX_FMT_YA16BE || frame.format == AV_PIX_FMT_YA16LE;
  const AVFramePtr gray = isGrayWithAlpha ? withoutAlpha(frame) : nullptr;
  const AVFrame& source = planar || frame.format == AV_PIX_FMT_NV12 ? frame : scaled(gray ? *gray : frame);

  const Plane luma{packed.data(), layout.width};
  const Plane chroma{packed.data() + layout.lumaBytes(),
                     static_cast<std::ptrdiff_t>(layout.chromaRowBytes())};
  copyRows({source.data[0], source.linesize[0]}, luma, static_cast<std::size_t>(layout.width), layout.height);
  const ConstPlane second{source.data[1], source.linesize[1]};
  if (planar) {
    interleaveChroma(second, {source.data[2], source.linesize[2]}, chroma, layout.chromaColumns(),
                     layout.chromaRows());
  } else {
    copyRows(second, chroma, layout.chromaRowBytes(), layout.chromaRows());
  }
}

const AVFrame& Nv12Converter::scaled(const AVFrame& frame) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  constexpr int kFlags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP;
  // The function takes ownership of the old context and returns it again while size and format stay the same.
  scaler_.reset(sws_getCachedContext(scaler_.release(), frame.width, frame.height, format, frame.width,
                                     frame.height, AV_PIX_FMT_NV12, kFlags, nullptr, nullptr, nullptr));
  if (!scaler_) {
    throw UserError(std::string("no conversion from pixel format ") + describe(frame).name + " to NV12");
  }
  setScalerColors(scaler_.get(), frame);
  if (!nv12_ || nv12_->width != frame.width || nv12_->height != frame.height) {
    nv12_ = makeAVFrame(AV_PIX_FMT_NV12, frame.width, frame.height);
  }
  sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, nv12_->data, nv12_->linesize);
  return *nv12_;
}

}  // namespace segmask
