#pragma once

#include <new>

#include "src/CallLog.h"
#include "src/DeviceMemory.h"
#include "src/Streams.h"

namespace cudart_cpu {

/// The one state of the process behind all calls.
struct Runtime {
  CallLog log;
  DeviceMemory memory;
  Streams streams;

  /// Never destroyed: objects that other libraries destroy at exit may still free device memory.
  static Runtime& instance();
};

/// What each thread has of its own.
struct ThreadState {
  cudaError_t lastError = cudaSuccess;
  bool inHostFunction = false;

  static ThreadState& current();
};

/// A record of a call with nothing filled in but its name.
inline RecordedCall begin(Call call) {
  return {call, 0, cudaMemcpyDefault, nullptr, nullptr, cudaSuccess};
}

/// The way of every call that can fail: count it, let it fail when a test planned that, else do `body` (which
/// may add to the record), then keep the error and the record.
template <class Body>
cudaError_t perform(RecordedCall made, const Body& body) {
  Runtime& runtime = Runtime::instance();
  ThreadState& thread = ThreadState::current();
  made.result = runtime.log.enter(made.call);
  if (made.result == cudaSuccess && thread.inHostFunction) made.result = cudaErrorNotPermitted;
  try {
    if (made.result == cudaSuccess) made.result = body(runtime, made);
    runtime.log.leave(made);
  } catch (const std::bad_alloc&) {
    made.result = cudaErrorMemoryAllocation;
  }
  if (made.result != cudaSuccess && made.result != cudaErrorNotReady) thread.lastError = made.result;
  return made.result;
}

}  // namespace cudart_cpu
