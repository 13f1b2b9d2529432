#pragma once

// The kernels for the host: their own text, cut from the CUDA source when the tests are built
// (kernels_text.cmake), so that their bodies, index arithmetic and bounds are run and not a copy of them. For
// one source file of a program.

#include <tuple>
#include <utility>

#include "launch_recorder.h"
#include "nv12_blend.h"
#include "overlay_geometry.h"

namespace {

/// What a kernel finds out about the thread that runs it.
thread_local launch_recorder::Extent blockIdx, blockDim, threadIdx;

}  // namespace

#define __global__
#include "segmask_kernels.inc"
#undef __global__

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

/// One thread of a launch.
struct Thread {
  launch_recorder::Extent block, thread;
};

/// All threads of a launch, block by block.
inline std::vector<Thread> threadsOf(const launch_recorder::Launch& launch) {
  std::vector<Thread> threads;
  const auto forEach = [](const launch_recorder::Extent& size, auto handle) {
    for (unsigned z = 0; z < size.z; ++z) {
      for (unsigned y = 0; y < size.y; ++y) {
        for (unsigned x = 0; x < size.x; ++x) handle(launch_recorder::Extent{x, y, z});
      }
    }
  };
  forEach(launch.grid, [&](const launch_recorder::Extent& block) {
    forEach(launch.block, [&](const launch_recorder::Extent& thread) { threads.push_back({block, thread}); });
  });
  return threads;
}

/// Runs one thread of a launch.
template <class... P>
void runThread(const launch_recorder::Launch& launch, const Thread& thread, void (*kernel)(P...),
               const std::tuple<P...>& arguments) {
  blockIdx = thread.block;
  blockDim = launch.block;
  threadIdx = thread.thread;
  std::apply(kernel, arguments);
}

}  // namespace host_kernels
