#include "soak/steady_time.h"

#include <atomic>

namespace {

std::atomic<std::chrono::nanoseconds::rep> steady_time{0};

}  // namespace

void soak::setSteadyTime(std::chrono::nanoseconds now) {
  steady_time = now.count();
}

// The C++ library's own function, once more. The program exports this one, and the loader asks the program
// first, so that a plug-in needs no seam for a test's clock. (clock_gettime, one level below, would be a
// place as good, but sanitizers stand there already.)
std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept {
  return time_point(nanoseconds(steady_time));
}
