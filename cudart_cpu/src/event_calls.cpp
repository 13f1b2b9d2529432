#include "src/Runtime.h"

using cudart_cpu::begin;
using cudart_cpu::Call;
using cudart_cpu::perform;
using cudart_cpu::RecordedCall;
using cudart_cpu::Runtime;

cudaError_t cudaEventCreateWithFlags(cudaEvent_t* event, unsigned int flags) {
  return perform(begin(Call::cudaEventCreateWithFlags), [&](Runtime& runtime, RecordedCall&) {
    constexpr unsigned int kKnown = cudaEventBlockingSync | cudaEventDisableTiming;
    if (!event || (flags & ~kKnown) != 0) return cudaErrorInvalidValue;
    *event = runtime.streams.createEvent();
    return cudaSuccess;
  });
}

cudaError_t cudaEventDestroy(cudaEvent_t event) {
  return perform(begin(Call::cudaEventDestroy), [&](Runtime& runtime, RecordedCall&) {
    return runtime.streams.destroyEvent(event) ? cudaSuccess : cudaErrorInvalidResourceHandle;
  });
}

cudaError_t cudaEventRecord(cudaEvent_t event, cudaStream_t stream) {
  RecordedCall made = begin(Call::cudaEventRecord);
  made.stream = stream;
  return perform(made, [&](Runtime& runtime, RecordedCall&) {
    return runtime.streams.record(event, stream) ? cudaSuccess : cudaErrorInvalidResourceHandle;
  });
}

cudaError_t cudaEventQuery(cudaEvent_t event) {
  return perform(begin(Call::cudaEventQuery), [&](Runtime& runtime, RecordedCall&) {
    bool complete = false;
    if (!runtime.streams.isComplete(event, complete)) return cudaErrorInvalidResourceHandle;
    return complete ? cudaSuccess : cudaErrorNotReady;
  });
}

cudaError_t cudaEventSynchronize(cudaEvent_t event) {
  return perform(begin(Call::cudaEventSynchronize), [&](Runtime& runtime, RecordedCall&) {
    return runtime.streams.finishEvent(event) ? cudaSuccess : cudaErrorInvalidResourceHandle;
  });
}
