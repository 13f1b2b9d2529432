#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "detection/outcome.h"

namespace segmask {

/// How many outcomes there are; an outcome is an index below it.
constexpr std::size_t kOutcomes = static_cast<std::size_t>(seg_mask::Outcome::NoPixelInBox) + 1;

/// What was counted in some frames of a run.
struct RunCounts {
  std::array<uint64_t, kOutcomes> detections{};  ///< by outcome, each with the frame it was delivered for
  uint64_t lookedBack = 0;                       ///< detections that look-back used again

  uint64_t of(seg_mask::Outcome outcome) const { return detections[static_cast<std::size_t>(outcome)]; }
  uint64_t drawn() const { return of(seg_mask::Outcome::Drawn); }
  uint64_t dropped() const;

  /// What was counted since `earlier`.
  RunCounts since(const RunCounts& earlier) const;
};

/// How a run's counts and times came about over its frames, in spans of frames. However long the video is,
/// there are at most kMostSpans: when they are full, two and two become one, and spans are twice as long from
/// then on. One thread at a time.
class RunHistory {
 public:
  static constexpr std::size_t kMostSpans = 128;

  struct Span {
    uint64_t first = 0;  ///< number of its first frame
    uint64_t last = 0;   ///< and of its last
    uint64_t frames = 0;
    std::optional<double> seconds;  ///< when its first frame is shown
    uint64_t framesDrawn = 0;
    RunCounts counts;
    double renderMs = 0;   ///< sum of its frames' times in the plug-in's render, in milliseconds
    double slowestMs = 0;  ///< the longest of them
  };

  /// One frame and its figures.
  struct Frame {
    uint64_t number = 0;            ///< rises from frame to frame
    std::optional<double> seconds;  ///< when it is shown, where frames have times
    bool drawn = false;             ///< whether the plug-in drew on it
    double renderMs = 0;
  };

  /// Adds the next frame; `soFar` are the run's counts with it. Returns the frame's own, which are the
  /// difference to those before: so the spans add up to the counts of the run.
  RunCounts add(const Frame& frame, const RunCounts& soFar);

  /// In the order of the frames, all but the last of one length.
  const std::vector<Span>& spans() const { return spans_; }

 private:
  void halve();

  std::vector<Span> spans_;
  uint64_t framesPerSpan_ = 1;
  RunCounts soFar_;
};

}  // namespace segmask
