#include "src/FrameInputs.h"

#include <filesystem>
#include <iterator>
#include <utility>

#include "io/UserError.h"

namespace fs = std::filesystem;

namespace segmask_gst {

using segmask::DetectionLine;
using segmask::RawDetectionLine;

FrameInputs::FrameInputs(std::string file, uint64_t lookback)
    : file_(std::move(file)), lookback_(lookback), inputs_(lookback), before_(lookback) {
  if (file_.empty()) return;
  // "-" would be standard input.
  file_ = fs::absolute(file_).string();
  rewind();
}

void FrameInputs::rewind() {
  inputs_ = segmask::ProducerInputs(lookback_);
  frame_.reset();
  ahead_.reset();
  if (file_.empty()) return;
  // Reading a pipe could not be ended when the pipeline is stopped, and would have no beginning to go back
  // to.
  std::error_code ignored;
  if (fs::exists(file_, ignored) && !fs::is_regular_file(file_, ignored)) {
    throw segmask::UserError(file_ + ": not a regular file, which the element could read again after a seek");
  }
  reader_ = std::make_unique<segmask::DetectionLineReader>(file_);
  ahead_ = reader_->next();
}

void FrameInputs::advance(uint64_t frame, render_base::FrameSize size, std::vector<DetectionLine> delivered) {
  const bool again = frame_ == frame;
  if (again && !delivered_ && delivered.empty()) return;
  if (frame_ && frame < *frame_) rewind();
  std::vector<DetectionLine> lines;
  if (again) {
    // Of two buffers of one number, the second has its own deliveries in the place of the first one's.
    inputs_ = before_;
    lines = ofFrame_;
  } else {
    lines = linesUpTo(frame, size);
    before_ = inputs_;
    ofFrame_ = lines;
    for (const DetectionLine& line : lines) detectionsSeen_ += line.detections;
  }
  for (DetectionLine& line : delivered) {
    detectionsSeen_ += line.detections;
    line.frame = frame;
  }
  delivered_ = !delivered.empty();
  std::move(delivered.begin(), delivered.end(), std::back_inserter(lines));
  inputs_.advance(frame, std::move(lines));
  frame_ = frame;
}

/// Passes the lines of the frames in between on, as if those frames had come, and gives those of `frame`.
std::vector<DetectionLine> FrameInputs::linesUpTo(uint64_t frame, render_base::FrameSize size) {
  std::vector<DetectionLine> lines;
  while (std::optional<RawDetectionLine> raw = takeLine(frame)) {
    if (!lines.empty() && lines.front().frame != raw->frame) {
      const uint64_t passed = lines.front().frame;
      inputs_.advance(passed, std::exchange(lines, {}));
    }
    lines.push_back(lineFor(frame, size, std::move(*raw)));
  }
  if (!lines.empty() && lines.front().frame != frame) {
    const uint64_t passed = lines.front().frame;
    inputs_.advance(passed, std::exchange(lines, {}));
  }
  return lines;
}

/// A line that is too old for look-back has its producer alone: the order of producers is that of their first
/// lines.
DetectionLine FrameInputs::lineFor(uint64_t frame, render_base::FrameSize size, RawDetectionLine raw) {
  if (frame - raw.frame <= lookback_) return reader_->expand(std::move(raw), size);
  DetectionLine line;
  line.frame = raw.frame;
  line.producer = std::move(raw.producer);
  line.lineNumber = raw.lineNumber;
  return line;
}

std::optional<RawDetectionLine> FrameInputs::takeLine(uint64_t most) {
  if (!ahead_ || ahead_->frame > most) return std::nullopt;
  std::optional<RawDetectionLine> line = std::exchange(ahead_, reader_->next());
  if (ahead_) reader_->checkOrder(line->frame, ahead_->frame, ahead_->lineNumber);
  return line;
}

}  // namespace segmask_gst
