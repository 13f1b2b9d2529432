#include "src/CallLog.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace cudart_cpu {

cudaError_t CallLog::enter(Call call) {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++counts_[static_cast<std::size_t>(call)];
  cudaError_t error = cudaSuccess;
  for (Plan& plan : plans_) {
    if (plan.call != call) continue;
    --plan.callsLeft;
    if (plan.callsLeft == 0 && error == cudaSuccess) error = plan.error;
  }
  plans_.erase(std::remove_if(plans_.begin(), plans_.end(), [](const Plan& p) { return p.callsLeft == 0; }),
               plans_.end());
  return error;
}

void CallLog::leave(const RecordedCall& made) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (recording_) recorded_.push_back(made);
}

uint64_t CallLog::count(Call call) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return counts_[static_cast<std::size_t>(call)];
}

uint64_t CallLog::total() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::accumulate(counts_.begin(), counts_.end(), uint64_t{0});
}

void CallLog::resetCounters() {
  const std::lock_guard<std::mutex> lock(mutex_);
  counts_.fill(0);
  recorded_.clear();
}

void CallLog::record(bool on) {
  const std::lock_guard<std::mutex> lock(mutex_);
  recording_ = on;
}

std::vector<RecordedCall> CallLog::recorded() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return recorded_;
}

void CallLog::fail(Call call, unsigned nth, cudaError_t error) {
  if (nth == 0) throw std::invalid_argument("failCall: calls are counted from 1");
  if (error == cudaSuccess) throw std::invalid_argument("failCall: cudaSuccess is not a failure");
  const std::lock_guard<std::mutex> lock(mutex_);
  plans_.push_back({call, nth, error});
}

void CallLog::clearFailures() {
  const std::lock_guard<std::mutex> lock(mutex_);
  plans_.clear();
}

}  // namespace cudart_cpu
