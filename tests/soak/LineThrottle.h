#pragma once

#include <chrono>
#include <optional>

namespace soak {

/// Which of an instance's skipped frames write the diagnostic line while debugging is on: the first and every
/// 60th of an unbroken run, and any that comes 2 seconds or more after the last line.
class LineThrottle {
 public:
  static constexpr std::chrono::seconds kPause{2};

  /// Counts a skipped frame and says whether it writes.
  bool skips(std::chrono::nanoseconds now, bool debugging) {
    ++run_;
    if (!debugging) return false;
    const bool late = !last_line_ || now - *last_line_ >= kPause;
    if (run_ != 1 && run_ % 60 != 0 && !late) return false;
    last_line_ = now;
    return true;
  }

  /// A frame with detections ends the run.
  void endRun() { run_ = 0; }

  std::optional<std::chrono::nanoseconds> lastLine() const { return last_line_; }

 private:
  unsigned long run_ = 0;
  std::optional<std::chrono::nanoseconds> last_line_;
};

}  // namespace soak
