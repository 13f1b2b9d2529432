#include "cudart_cpu/control.h"

#include <stdexcept>

#include "src/Runtime.h"

namespace cudart_cpu {
namespace {

void requireLive(bool live) {
  if (!live) throw std::invalid_argument("not a live stream");
}

}  // namespace

const char* callName(Call call) {
  // No default, so that the compiler warns of a missing call.
  switch (call) {
    case Call::cudaGetDeviceCount:
      return "cudaGetDeviceCount";
    case Call::cudaDeviceSynchronize:
      return "cudaDeviceSynchronize";
    case Call::cudaGetLastError:
      return "cudaGetLastError";
    case Call::cudaPeekAtLastError:
      return "cudaPeekAtLastError";
    case Call::cudaMalloc:
      return "cudaMalloc";
    case Call::cudaFree:
      return "cudaFree";
    case Call::cudaHostAlloc:
      return "cudaHostAlloc";
    case Call::cudaFreeHost:
      return "cudaFreeHost";
    case Call::cudaMemcpy:
      return "cudaMemcpy";
    case Call::cudaMemcpyAsync:
      return "cudaMemcpyAsync";
    case Call::cudaMemcpy2DAsync:
      return "cudaMemcpy2DAsync";
    case Call::cudaMemsetAsync:
      return "cudaMemsetAsync";
    case Call::cudaMemset2DAsync:
      return "cudaMemset2DAsync";
    case Call::cudaStreamCreate:
      return "cudaStreamCreate";
    case Call::cudaStreamCreateWithFlags:
      return "cudaStreamCreateWithFlags";
    case Call::cudaStreamDestroy:
      return "cudaStreamDestroy";
    case Call::cudaStreamSynchronize:
      return "cudaStreamSynchronize";
    case Call::cudaStreamQuery:
      return "cudaStreamQuery";
    case Call::cudaEventCreateWithFlags:
      return "cudaEventCreateWithFlags";
    case Call::cudaEventDestroy:
      return "cudaEventDestroy";
    case Call::cudaEventRecord:
      return "cudaEventRecord";
    case Call::cudaEventQuery:
      return "cudaEventQuery";
    case Call::cudaEventSynchronize:
      return "cudaEventSynchronize";
    case Call::cudaLaunchHostFunc:
      return "cudaLaunchHostFunc";
  }
  return "unknown call";
}

uint64_t count(Call call) {
  return Runtime::instance().log.count(call);
}

uint64_t totalCalls() {
  return Runtime::instance().log.total();
}

uint64_t waitingCalls() {
  return count(Call::cudaMemcpy) + count(Call::cudaStreamSynchronize) + count(Call::cudaEventSynchronize) +
         count(Call::cudaDeviceSynchronize);
}

void resetCounters() {
  Runtime::instance().log.resetCounters();
}

void recordCalls(bool on) {
  Runtime::instance().log.record(on);
}

std::vector<RecordedCall> recordedCalls() {
  return Runtime::instance().log.recorded();
}

void failCall(Call call, unsigned nth, cudaError_t error) {
  Runtime::instance().log.fail(call, nth, error);
}

void clearFailures() {
  Runtime::instance().log.clearFailures();
}

void hold(cudaStream_t stream) {
  requireLive(Runtime::instance().streams.hold(stream));
}

void release(cudaStream_t stream) {
  requireLive(Runtime::instance().streams.release(stream));
}

std::size_t heldWork(cudaStream_t stream) {
  std::size_t tasks = 0;
  requireLive(Runtime::instance().streams.pending(stream, tasks));
  return tasks;
}

LiveAllocations liveAllocations() {
  return Runtime::instance().device.live();
}

LiveAllocations livePinnedAllocations() {
  return Runtime::instance().pinned.live();
}

std::size_t liveEvents() {
  return Runtime::instance().streams.liveEvents();
}

void reset() {
  Runtime& runtime = Runtime::instance();
  runtime.streams.releaseAll();
  runtime.log.record(false);
  runtime.log.resetCounters();
  runtime.log.clearFailures();
}

ScopedReset::ScopedReset() {
  reset();
}

ScopedReset::~ScopedReset() {
  reset();
}

}  // namespace cudart_cpu
