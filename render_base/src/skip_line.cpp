#include "render_base/skip_line.h"

#include <chrono>

namespace render_base {

uint64_t steadyNowNs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

bool isSkipLineDue(const SkipThrottle& throttle, uint64_t now_ns) {
  const bool first = throttle.frame_count == 1;
  const bool counted = throttle.every_n != 0 && throttle.frame_count % throttle.every_n == 0;
  const bool timed = now_ns >= throttle.next_log_ns;
  return first || counted || timed;
}

std::string skipLine(const char* tag, const SkippedFrame& frame) {
  return std::string("[") + tag + "][Fallback] frame=" + std::to_string(frame.frame_id) +
         " decision=skip providers_missing=" + std::to_string(frame.missing) +
         " providers_using_lookback=" + std::to_string(frame.lookback);
}

}  // namespace render_base
