#pragma once

extern "C" {
#include <libavutil/pixfmt.h>
#include <libavutil/rational.h>
}

namespace segmask {

/// How the samples of a video are to be read as colours. What the input does not say stays "unspecified", so
/// that the output does not say it either.
struct ColorTags {
  AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
  AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
  AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
  AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
  AVChromaLocation chromaLocation = AVCHROMA_LOC_UNSPECIFIED;
};

/// What holds for every frame of a video.
struct VideoFormat {
  int width = 0;                  ///< luma columns, at least 1; may be odd
  int height = 0;                 ///< luma rows, at least 1; may be odd
  AVRational timeBase{1, 30};     ///< seconds a tick of Frame::pts
  AVRational frameRate{30, 1};    ///< frames a second; nominal where frames come at varying times
  AVRational sampleAspect{0, 1};  ///< width to height of a sample; 0/1 where unknown
  ColorTags color;
};

}  // namespace segmask
