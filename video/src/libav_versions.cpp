#include "video/libav_versions.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
#include <libswscale/swscale.h>
}

namespace segmask {

std::array<LibavVersion, 4> libavVersions() {
  return {{{"libavformat", avformat_version(), LIBAVFORMAT_VERSION_INT},
           {"libavcodec", avcodec_version(), LIBAVCODEC_VERSION_INT},
           {"libavutil", avutil_version(), LIBAVUTIL_VERSION_INT},
           {"libswscale", swscale_version(), LIBSWSCALE_VERSION_INT}}};
}

}  // namespace segmask
