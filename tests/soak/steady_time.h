#pragma once

#include <chrono>

namespace soak {

/// What std::chrono::steady_clock::now() gives from now on, in this program and in every library that it
/// loads. 0 at first.
void setSteadyTime(std::chrono::nanoseconds now);

}  // namespace soak
