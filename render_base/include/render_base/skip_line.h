#pragma once

#include <cstdint>
#include <string>

namespace render_base {

/// Nanoseconds of the steady clock.
uint64_t steadyNowNs();

/// A frame that a plug-in skips because no producer has anything to draw.
struct SkippedFrame {
  uint64_t frame_id = 0;
  uint64_t missing = 0;   ///< producers without anything to draw
  uint64_t lookback = 0;  ///< producers with an input from an earlier frame
};

/// State and settings that limit how often a plug-in writes that line.
struct SkipThrottle {
  uint64_t frame_count = 0;  ///< consecutive skipped frames, this one included
  uint64_t every_n = 0;      ///< a line every so many of them; 0 turns this rule off
  uint64_t next_log_ns = 0;  ///< steady clock; from then on a line is due on time
};

/// Whether a line is due at `now_ns` (steady clock): for the first skipped frame of a run, for every
/// `every_n`-th, and once the time has come.
bool isSkipLineDue(const SkipThrottle& throttle, uint64_t now_ns);

/// "[tag][Fallback] frame=N decision=skip providers_missing=N providers_using_lookback=N", without a line
/// feed.
std::string skipLine(const char* tag, const SkippedFrame& frame);

}  // namespace render_base
