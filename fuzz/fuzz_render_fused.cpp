// render_fuzzer.cpp with the library that draws a frame in one pass.

#include <cuda_runtime.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "cudart_cpu/control.h"
#include "fuzz/LibraryCalls.h"
#include "fuzz/fuzz_target.h"

namespace {

using cudart_cpu::Call;
using cudart_cpu::RecordedCall;

// What may fail. The call that forgets an error is made only while a stream is behind.
constexpr std::array<Call, 8> kRuntimeCalls{
    Call::cudaMalloc,      Call::cudaHostAlloc,  Call::cudaMemcpyAsync,     Call::cudaLaunchHostFunc,
    Call::cudaEventRecord, Call::cudaEventQuery, Call::cudaPeekAtLastError, Call::cudaEventCreateWithFlags};

// The calls of a pass, taken one by one from the front.
class Calls {
 public:
  Calls() : calls_(cudart_cpu::recordedCalls()) {}

  // Takes the next one if it is of this kind.
  bool take(Call call) {
    if (isAtEnd() || calls_[at_].call != call) return false;
    ++at_;
    return true;
  }

  // The same for one without which the frame cannot go on. False when it is there and has failed.
  bool succeeds(Call call, bool needed) {
    if (!take(call)) {
      fuzz::check(!needed, cudart_cpu::callName(call));
      return true;
    }
    return calls_[at_ - 1].result == cudaSuccess;
  }

  bool isAtEnd() const { return at_ == calls_.size(); }

 private:
  std::vector<RecordedCall> calls_;
  std::size_t at_ = 0;
};

class OnePassCalls final : public fuzz::LibraryCalls {
 public:
  void planFailure(FuzzInput& input) override {
    const Call call = kRuntimeCalls[input.below(kRuntimeCalls.size())];
    plans_.emplace_back(call, 1 + input.below(6));
  }

  void begin() override {
    cudart_cpu::recordCalls(true);
    for (const auto& [call, nth] : plans_) cudart_cpu::failCall(call, nth, cudaErrorUnknown);
  }

  model::Compositor& compositor() override { return model_; }

  void finish() override {
    cudart_cpu::recordCalls(false);
    cudart_cpu::clearFailures();
    plans_.clear();
    Calls calls;
    const bool drawn = model_.isDue() && couldDraw(calls);
    fuzz::check(calls.isAtEnd(), "other calls of the CUDA runtime");
    model_.finish(drawn);
    cudaGetLastError();  // forgets the failures, because an error of the host's decides about calls
  }

 private:
  // In this order, up to the first one that fails; but a launch fails in silence.
  static bool couldDraw(Calls& calls) {
    while (calls.take(Call::cudaPeekAtLastError)) calls.take(Call::cudaEventQuery);
    if (!calls.succeeds(Call::cudaEventCreateWithFlags, false)) return false;
    if (!calls.succeeds(Call::cudaHostAlloc, false)) return false;
    if (!calls.succeeds(Call::cudaMalloc, false)) return false;
    if (!calls.succeeds(Call::cudaMemcpyAsync, true)) return false;
    const bool launched = calls.succeeds(Call::cudaLaunchHostFunc, true);
    calls.succeeds(Call::cudaEventRecord, true);
    return launched;
  }

  std::vector<std::pair<Call, unsigned>> plans_;
  model::AllAtOnce model_;
};

}  // namespace

std::unique_ptr<fuzz::LibraryCalls> fuzz::makeLibraryCalls(SegMaskOverlayPlugin&) {
  return std::make_unique<OnePassCalls>();
}
