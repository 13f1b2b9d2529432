// render_fuzzer.cpp with the library that uploads and launches item by item.

#include <cuda_runtime.h>

#include <array>
#include <string>

#include "cudart_cpu/control.h"
#include "fuzz/LibraryCalls.h"
#include "fuzz/fuzz_target.h"
#include "tests/FrameMaskCompositorPeer.h"

namespace {

using cudart_cpu::Call;

// Those of the runtime that the model's calls stand for, in the model's order.
constexpr std::array<Call, 4> kRuntimeCalls{Call::cudaMalloc, Call::cudaFree, Call::cudaMemcpyAsync,
                                            Call::cudaLaunchHostFunc};

class FrameMaskCalls final : public fuzz::LibraryCalls {
 public:
  explicit FrameMaskCalls(SegMaskOverlayPlugin& plugin) : memory_{{plugin}} {}

  void planFailure(FuzzInput& input) override {
    const auto call = static_cast<model::Call>(input.below(4));
    pass_.calls.failCall(call, 1 + input.below(6));
  }

  void begin() override {
    bufferBefore_ = memory_.deviceMask();
    for (const auto& [call, nth] : pass_.calls.plans()) {
      cudart_cpu::failCall(kRuntimeCalls[static_cast<std::size_t>(call)], nth, cudaErrorUnknown);
    }
  }

  model::Compositor& compositor() override { return pass_.compositor; }

  void finish() override {
    for (std::size_t i = 0; i < kRuntimeCalls.size(); ++i) {
      const unsigned expected = pass_.calls.count(static_cast<model::Call>(i));
      fuzz::checkEqual(std::to_string(cudart_cpu::count(kRuntimeCalls[i])), std::to_string(expected),
                       cudart_cpu::callName(kRuntimeCalls[i]));
    }
    fuzz::check(cudart_cpu::totalCalls() == pass_.calls.total(), "other calls of the CUDA runtime");
    fuzz::check((memory_.deviceMask() != nullptr) == buffer_.there, "whether there is a buffer");
    fuzz::check(memory_.deviceMaskBytes() == buffer_.bytes, "the buffer's bytes");
    cudart_cpu::clearFailures();
    if (pass_.calls.failed(model::Call::free) != 0)
      cudaFree(bufferBefore_);  // which the plug-in has given up
    pass_.calls = model::DeviceCalls();
  }

 private:
  struct Pass {
    explicit Pass(model::MaskBuffer& buffer) : compositor(buffer, calls) {}
    model::DeviceCalls calls;
    model::OneByOne compositor;
  };

  FrameMaskCompositorPeer memory_;
  model::MaskBuffer buffer_;
  Pass pass_{buffer_};
  void* bufferBefore_ = nullptr;
};

}  // namespace

std::unique_ptr<fuzz::LibraryCalls> fuzz::makeLibraryCalls(SegMaskOverlayPlugin& plugin) {
  return std::make_unique<FrameMaskCalls>(plugin);
}
