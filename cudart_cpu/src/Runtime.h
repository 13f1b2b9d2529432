#pragma once

#include <new>

#include "src/CallLog.h"
#include "src/MemoryTable.h"
#include "src/Streams.h"

namespace cudart_cpu {

/// The process-wide state behind all calls.
struct Runtime {
  CallLog log;
  MemoryTable device;
  MemoryTable pinned;
  Streams streams;

  /// Never destroyed: objects that other libraries destroy at exit may still free memory.
  static Runtime& instance();
};

/// The state of one thread.
struct ThreadState {
  cudaError_t lastError = cudaSuccess;
  bool inHostFunction = false;

  static ThreadState& current();
};

/// A record of a call in which only the name is filled in.
inline RecordedCall begin(Call call) {
  return {call, 0, cudaMemcpyDefault, nullptr, nullptr, cudaSuccess};
}

/// Whether the call's result becomes the thread's last error. That work is not done yet is an answer and no
/// error, but that of cudaEventQuery is kept all the same, so that a test can see who leaves it behind.
inline bool isLastError(const RecordedCall& made) {
  if (made.result == cudaErrorNotReady) return made.call == Call::cudaEventQuery;
  return made.result != cudaSuccess;
}

/// Makes a call that can fail: counts it, fails when a test planned that and runs `body` otherwise (which may
/// add to the record), then stores the error and the record.
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
  if (isLastError(made)) thread.lastError = made.result;
  return made.result;
}

}  // namespace cudart_cpu
