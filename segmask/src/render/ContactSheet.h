#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "io/Frame.h"
#include "io/StagedOutput.h"
#include "src/report/SpreadChoice.h"
#include "video/RgbConverter.h"
#include "video/VideoFormat.h"

namespace segmask {

/// One PNG with 2 by 2 frames spread over the output, preferably frames that were drawn on. Frames larger
/// than 960x540 are scaled down to fit; with fewer than four frames the rest of the sheet stays black.
class ContactSheet {
 public:
  /// Nothing appears at `path` before finish() and commit(). Throws UserError as StagedOutput does.
  ContactSheet(const std::string& path, const VideoFormat& format);

  /// To be called with every frame of the output, in order.
  void offer(uint64_t number, const Frame& frame, bool drawn);

  void finish();

  /// Where the sheet stands between finish() and commit().
  std::string finishedFile() const { return stage_.path(); }

  void commit(Existing existing) { stage_.commit(existing); }

 private:
  struct Size {
    int width;
    int height;
  };
  /// One small RGB picture, rows without gaps.
  struct Tile {
    uint64_t frame = 0;
    std::vector<unsigned char> rgb;
  };
  static Size tileSize(const VideoFormat& format);
  AVFramePtr compose() const;

  std::string path_;
  StagedOutput stage_;
  Size tile_;
  RgbConverter converter_;
  SpreadChoice<Tile> drawn_;
  SpreadChoice<Tile> plain_;
};

}  // namespace segmask
