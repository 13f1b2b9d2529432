#pragma once

#include <string>
#include <vector>

#include "video/VideoFormat.h"
#include "video/libav_handles.h"

namespace segmask {

/// The colour tags of a frame once it has become NV12: the frame's own; for RGB and palette frames those of
/// the conversion (BT.601, limited range).
ColorTags colorTagsAsNv12(const AVFrame& frame);

/// What the frame loses when it becomes NV12, a sentence each: bits of its samples, chroma samples, alpha.
/// Pictures that are RGB lose chroma too, which is not said: nearly every one of them is.
std::vector<std::string> lossesAsNv12(const AVFrame& frame);

/// Converts decoded frames to packed NV12. NV12 and planar 4:2:0 of 8 bits are only rearranged, sample for
/// sample; every other format goes through the scaler library, which keeps range and matrix of what has them.
class Nv12Converter {
 public:
  /// Fills `packed`, whose size becomes that of the frame. Throws UserError when the format is one that the
  /// scaler library cannot read; the text names no file.
  void convert(const AVFrame& frame, std::vector<unsigned char>& packed);

 private:
  const AVFrame& scaled(const AVFrame& frame);

  SwsContextPtr scaler_;
  AVFramePtr nv12_;
};

}  // namespace segmask
