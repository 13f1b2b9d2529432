#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/DetectionLineReader.h"
#include "render_base/geometry.h"

namespace segmask {

/// Reads detections as JSON lines, in frame order, without holding more than one frame's lines. A line is
///
///   {"frame": 17, "producer": "motion", "detections": [...]}
///
/// with frames counted from 0. Several lines may be for one frame. A line without "detections" says that the
/// producer found nothing. Blank lines and members of other names are passed over. The file may be packed by
/// gzip.
///
/// In the place of "class_info", the mask text, a detection may have its mask as run lengths or polygons,
/// "mask" (docs/formats.md has the forms). The payload has the text, as if the line had it.
///
/// For any other line, and for a line whose frame is earlier than that of the line before it, the call that
/// reads it throws UserError "FILE:LINE: what is wrong".
class DetectionStream {
 public:
  /// `path` "-" is standard input. `frameSize`, of all frames, is for polygons and for masks of a part of the
  /// frame. Throws UserError when the file cannot be opened.
  DetectionStream(const std::string& path, render_base::FrameSize frameSize);

  /// The lines of `frame`, in the file's order. To be called with rising numbers; lines for frames that are
  /// left out are passed over.
  std::vector<DetectionLine> take(uint64_t frame);

  /// The next line, which is for a frame after those taken; empty at the end of the file.
  const std::optional<DetectionLine>& rest();

  /// True once the whole file is read and there was no line in it.
  bool heldNoLine() const { return atEnd_ && !lastFrame_; }

  const std::string& path() const { return reader_.path(); }

 private:
  void readAhead();
  std::optional<DetectionLine> readLine();

  DetectionLineReader reader_;
  render_base::FrameSize frameSize_;
  std::optional<DetectionLine> ahead_;
  bool atEnd_ = false;
  std::optional<uint64_t> lastFrame_;
};

}  // namespace segmask
