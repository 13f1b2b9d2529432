#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/DetectionLineReader.h"
#include "host/ProducerInputs.h"
#include "render_base/geometry.h"

namespace segmask_gst {

/// What each frame is drawn with: the lines that a detections file has for it, those that came with its
/// buffer, and what look-back adds. The frames of a stream may come in any order, because it may be sought
/// in: where one is earlier than the one before it, the file is read from its beginning again. What a frame
/// is drawn with from the file does not depend on that, nor on the frames that were left out. One thread at a
/// time.
class FrameInputs {
 public:
  /// `file` may be empty, for none; else it is a regular file, of the format of segmask::DetectionStream.
  /// Throws UserError when it is none or cannot be opened.
  FrameInputs(std::string file, uint64_t lookback);

  /// Goes to `frame`, of that size. `delivered` came with the buffer and replaces, in the memory of
  /// look-back, what came with an earlier one. Throws UserError "FILE:LINE: what is wrong".
  void advance(uint64_t frame, render_base::FrameSize size, std::vector<segmask::DetectionLine> delivered);

  /// Of the frame that was advanced to last.
  const segmask::ProducerInputs& inputs() const { return inputs_; }

  /// The detections for the frames so far, each delivery counted once.
  uint64_t detectionsSeen() const { return detectionsSeen_; }

 private:
  void rewind();
  std::vector<segmask::DetectionLine> linesUpTo(uint64_t frame, render_base::FrameSize size);
  std::optional<segmask::RawDetectionLine> takeLine(uint64_t most);
  segmask::DetectionLine lineFor(uint64_t frame, render_base::FrameSize size, segmask::RawDetectionLine raw);

  std::string file_;
  uint64_t lookback_;
  std::unique_ptr<segmask::DetectionLineReader> reader_;  ///< null without a file
  std::optional<segmask::RawDetectionLine> ahead_;
  segmask::ProducerInputs inputs_;
  segmask::ProducerInputs before_;  ///< inputs_ as it was before frame_
  std::optional<uint64_t> frame_;
  std::vector<segmask::DetectionLine> ofFrame_;  ///< the file's lines for frame_
  bool delivered_ = false;                       ///< whether frame_ had any with its buffer
  uint64_t detectionsSeen_ = 0;
};

}  // namespace segmask_gst
