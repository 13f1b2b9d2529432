#pragma once

#include <array>
#include <cstdint>
#include <optional>

extern "C" {
#include <libavcodec/codec_par.h>
#include <libavutil/pixfmt.h>
#include <libavutil/rational.h>
}

namespace segmask {

/// The interpretation of a video's samples as colours. A tag that the input lacks stays "unspecified", so
/// that the output lacks it too.
struct ColorTags {
  AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
  AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
  AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
  AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
  AVChromaLocation chromaLocation = AVCHROMA_LOC_UNSPECIFIED;
};

/// The nine numbers that say how a player turns and mirrors a video, as libav has them.
using DisplayMatrix = std::array<int32_t, 9>;

/// The properties that all frames of a video share.
struct VideoFormat {
  int width = 0;                  ///< luma columns, at least 1; may be odd
  int height = 0;                 ///< luma rows, at least 1; may be odd
  AVRational timeBase{1, 30};     ///< seconds a tick of Frame::pts
  AVRational frameRate{30, 1};    ///< frames a second; nominal where frames come at varying times
  AVRational sampleAspect{0, 1};  ///< width to height of a sample; 0/1 where unknown
  ColorTags color;
  AVFieldOrder fieldOrder = AV_FIELD_UNKNOWN;
  std::optional<DisplayMatrix> displayMatrix;  ///< what is left for players to do
};

}  // namespace segmask
