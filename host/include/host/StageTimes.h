#pragma once

#include <chrono>
#include <string>

namespace segmask {

/// The time that each stage of the pipeline has worked. Waiting for another stage does not count; waiting for
/// input or for the disk does.
struct StageTimes {
  using Duration = std::chrono::steady_clock::duration;

  Duration reading{};
  Duration drawing{};
  Duration writing{};
  Duration whole{};  ///< from before the first frame's reading to after the last one's writing

  /// Which stage limits the rate, for the user: "writing, busy 97 % of the time (reading 31 %, drawing 4 %)".
  std::string slowestStage() const;
};

}  // namespace segmask
