#pragma once

#include <cstdint>
#include <string>

#include "io/StagedOutput.h"
#include "video/FrameWriter.h"
#include "video/PngEncoder.h"
#include "video/PngPattern.h"
#include "video/RgbConverter.h"

namespace segmask {

/// Writes one RGB PNG a frame, named by the frame's number in the output. Files of a longer sequence that
/// stood there before and are not replaced stay.
class PngSequenceWriter : public FrameWriter {
 public:
  /// `path` is a PngPattern, and `firstFrame` the number of the first frame.
  PngSequenceWriter(const std::string& path, const VideoFormat& format, uint64_t firstFrame);

  void write(const Frame& frame) override;
  void finish() override {}
  void commit(Existing existing) override { stage_.commit(existing); }

 private:
  std::string path_;
  PngPattern pattern_;
  StagedOutput stage_;
  RgbConverter converter_;
  PngEncoder encoder_;
  uint64_t nextFrame_;
};

}  // namespace segmask
