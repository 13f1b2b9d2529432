#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "io/Frame.h"
#include "src/report/SpreadChoice.h"
#include "video/RgbConverter.h"
#include "video/VideoFormat.h"

namespace segmask {

/// A few small pictures of a run: frames spread over it, the one with most detections drawn and the one with
/// most dropped. Memory does not grow with the video. Frames may differ in size. One thread at a time.
class FrameStrip {
 public:
  /// A frame and what is said of it.
  struct Moment {
    uint64_t frame = 0;             ///< its number
    std::optional<double> seconds;  ///< when it is shown, where frames have times
    uint64_t drawn = 0;             ///< detections
    uint64_t dropped = 0;
  };

  struct Picture : Moment {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> rgb;  ///< rows without gaps
  };

  /// One picture of the strip, with why it is in it besides its place.
  struct Shown {
    const Picture* picture;  ///< owned by the strip
    bool hasMostDrawn = false;
    bool hasMostDropped = false;
  };

  /// To be called with every frame, in order, after drawing.
  void offer(const Moment& moment, const segmask::Frame& frame, const VideoFormat& format);

  /// The strip, in the order of the frames, each frame once: at most `spread` of those that are spread over
  /// the run, and the two moments where there are any. Valid until the next offer().
  std::vector<Shown> pictures(std::size_t spread) const;

 private:
  Picture makePicture(const Moment& moment, const segmask::Frame& frame, const VideoFormat& format);

  VideoFormat format_;  ///< that of the converter
  std::unique_ptr<RgbConverter> converter_;
  SpreadChoice<Picture> spread_;
  Picture mostDrawn_;  ///< without a picture as long as there is none
  Picture mostDropped_;
};

/// A picture as a PNG file's bytes.
std::string pngOf(const FrameStrip::Picture& picture);

}  // namespace segmask
