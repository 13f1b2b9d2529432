#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace model {

/// What a skipped frame writes while debugging is on, with its line feed, when it is due.
std::string skipLine(uint64_t frame_id, uint64_t missing, uint64_t lookback);

/// Whether that frame of an unbroken run of skipped ones, counted from 1, is due by its number. Others are
/// due when kSkipPause or more have passed since the last line.
bool isDueByNumber(uint64_t frame_of_run);

inline constexpr std::chrono::seconds kSkipPause{2};

}  // namespace model
