#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "cudart_cpu/control.h"

namespace cudart_cpu {

/// The state for tests: counts and records of calls, and the planned failures. Any thread may call it.
class CallLog {
 public:
  /// Counts a call that begins. Returns the error that it must fail with, or cudaSuccess.
  cudaError_t enter(Call call);

  /// Records a call that ends, when recording is on.
  void leave(const RecordedCall& made);

  uint64_t count(Call call) const;
  uint64_t total() const;
  void resetCounters();

  void record(bool on);
  std::vector<RecordedCall> recorded() const;

  void fail(Call call, unsigned nth, cudaError_t error);
  void clearFailures();

 private:
  struct Plan {
    Call call;
    unsigned callsLeft;
    cudaError_t error;
  };

  static constexpr std::size_t kCalls = static_cast<std::size_t>(Call::cudaLaunchHostFunc) + 1;

  mutable std::mutex mutex_;
  std::array<uint64_t, kCalls> counts_{};
  std::vector<Plan> plans_;
  bool recording_ = false;
  std::vector<RecordedCall> recorded_;
};

}  // namespace cudart_cpu
