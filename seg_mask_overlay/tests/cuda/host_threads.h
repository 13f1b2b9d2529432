#pragma once

// Runs threads of a recorded launch on the host, through a kernel's own text: that is cut from the CUDA
// source when the tests are built (kernels_text.cmake), so that bodies, index arithmetic and bounds are run
// and not a copy of them. The texts are in host_kernels.h and host_fused_kernel.h. For one source file of a
// program.

#include <tuple>
#include <utility>

#include "tests/cuda/launch_recorder.h"

namespace {

/// What a kernel finds out about the thread that runs it.
thread_local launch_recorder::Extent blockIdx, blockDim, threadIdx;

}  // namespace

namespace host_kernels {

template <class... P, std::size_t... I>
std::tuple<P...> argumentsOf(const launch_recorder::Launch& launch, std::index_sequence<I...>) {
  return {launch.argument<P>(I)...};
}

/// The arguments of a recorded launch, as `kernel` takes them.
template <class... P>
std::tuple<P...> argumentsOf(const launch_recorder::Launch& launch, void (*kernel)(P...)) {
  static_cast<void>(kernel);
  return argumentsOf<P...>(launch, std::index_sequence_for<P...>());
}

/// Runs threads of a recorded launch of `kernel`: a function of a block's index and a thread's in its block.
template <class... P>
auto threadsOf(const launch_recorder::Launch& launch, void (*kernel)(P...)) {
  return [kernel, blockSize = launch.block, arguments = argumentsOf(launch, kernel)](
             const launch_recorder::Extent& block, const launch_recorder::Extent& thread) {
    blockIdx = block;
    blockDim = blockSize;
    threadIdx = thread;
    std::apply(kernel, arguments);
  };
}

}  // namespace host_kernels
