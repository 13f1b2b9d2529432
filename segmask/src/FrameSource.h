#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "io/Frame.h"
#include "video/FrameReader.h"

namespace segmask {

/// Where in a video to begin: at a frame, by its number from 0 on, or at the first frame that is shown at
/// this time or later, in seconds after the first frame.
struct StartPoint {
  uint64_t frame = 0;
  std::optional<double> seconds;
};

/// Parses "250", a frame, or a time with a point, a colon or an s: "12.5", "90s", "1:30", "1:02:03.5". Throws
/// UserError.
StartPoint parseStartPoint(const std::string& text);

/// The part of a reader's frames that is drawn. Frames keep the numbers that they have in the source; their
/// times count from the part's first one.
///
/// The frames before it are decoded and dropped, because containers do not say which number a frame has that
/// they find by its time.
class FrameSource {
 public:
  /// All frames.
  explicit FrameSource(std::unique_ptr<FrameReader> reader) : reader_(std::move(reader)) {}

  /// Reads up to the first frame of the part. Throws UserError, with `path`, when there is none.
  void skipTo(const StartPoint& start, const std::string& path);

  /// After so many frames there are no more.
  void limit(uint64_t frames) { limit_ = frames; }

  /// As FrameReader::next(); `number` is that of the frame.
  bool next(Frame& frame, uint64_t& number);

  FrameReader& reader() const { return *reader_; }

  /// The number of frames of the part, an estimate, where it is known.
  std::optional<uint64_t> frameCount() const;

  /// The number of the source's frames, once next() has given the last; empty while there may be more.
  std::optional<uint64_t> sourceFrames() const { return sourceFrames_; }

 private:
  bool isBefore(const StartPoint& start, const Frame& frame) const;

  std::unique_ptr<FrameReader> reader_;
  std::optional<Frame> pending_;  ///< the first frame of the part
  uint64_t first_ = 0;            ///< its number
  uint64_t given_ = 0;
  int64_t firstPts_ = 0;  ///< of the source
  int64_t shift_ = 0;     ///< what is taken from times
  std::optional<uint64_t> limit_;
  std::optional<uint64_t> sourceFrames_;
};

}  // namespace segmask
