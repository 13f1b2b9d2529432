#include "test_support/model/fallback_line.h"

namespace model {

std::string skipLine(uint64_t frame_id, uint64_t missing, uint64_t lookback) {
  return "[SegMask][Fallback] frame=" + std::to_string(frame_id) +
         " decision=skip providers_missing=" + std::to_string(missing) +
         " providers_using_lookback=" + std::to_string(lookback) + "\n";
}

bool isDueByNumber(uint64_t frame_of_run) {
  return frame_of_run == 1 || frame_of_run % 60 == 0;
}

}  // namespace model
