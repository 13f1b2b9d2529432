#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace soak {

/// The resident memory of this process over a run, by the run's quarters.
class ResidentMemory {
 public:
  explicit ResidentMemory(uint64_t frames) : frames_(frames) {}

  /// Reads it, for the time after so many frames of the run.
  void sample(uint64_t frame);

  /// The mean of a quarter's samples in bytes, 0 to 3; 0 for one without samples.
  double meanOfQuarter(std::size_t quarter) const;

 private:
  struct Sum {
    double bytes = 0;
    uint64_t samples = 0;
  };
  uint64_t frames_;
  std::array<Sum, 4> quarters_;
};

}  // namespace soak
