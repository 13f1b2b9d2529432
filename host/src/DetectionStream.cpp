#include "host/DetectionStream.h"

#include <utility>

namespace segmask {

DetectionStream::DetectionStream(const std::string& path, render_base::FrameSize frameSize)
    : reader_(path), frameSize_(frameSize) {}

std::vector<DetectionLine> DetectionStream::take(uint64_t frame) {
  std::vector<DetectionLine> lines;
  readAhead();
  while (ahead_ && ahead_->frame <= frame) {
    if (ahead_->frame == frame) lines.push_back(std::move(*ahead_));
    ahead_.reset();
    readAhead();
  }
  return lines;
}

const std::optional<DetectionLine>& DetectionStream::rest() {
  readAhead();
  return ahead_;
}

void DetectionStream::readAhead() {
  if (ahead_ || atEnd_) return;
  ahead_ = readLine();
  atEnd_ = !ahead_;
}

std::optional<DetectionLine> DetectionStream::readLine() {
  std::optional<RawDetectionLine> raw = reader_.next();
  if (!raw) return std::nullopt;
  DetectionLine line = reader_.expand(std::move(*raw), frameSize_);
  if (lastFrame_) reader_.checkOrder(*lastFrame_, line.frame, line.lineNumber);
  lastFrame_ = line.frame;
  return line;
}

}  // namespace segmask
