#include "src/Runtime.h"

using cudart_cpu::begin;
using cudart_cpu::Call;
using cudart_cpu::perform;
using cudart_cpu::RecordedCall;
using cudart_cpu::Runtime;
using cudart_cpu::ThreadState;

namespace {

RecordedCall beginOn(Call call, cudaStream_t stream) {
  RecordedCall made = begin(call);
  made.stream = stream;
  return made;
}

cudaError_t createStream(Runtime& runtime, RecordedCall& made, cudaStream_t* pStream, unsigned int flags) {
  if (!pStream) return cudaErrorInvalidValue;
  if (flags != cudaStreamDefault && flags != cudaStreamNonBlocking) return cudaErrorInvalidValue;
  *pStream = runtime.streams.create(flags == cudaStreamNonBlocking);
  made.stream = *pStream;
  return cudaSuccess;
}

}  // namespace

cudaError_t cudaStreamCreate(cudaStream_t* pStream) {
  return perform(begin(Call::cudaStreamCreate), [&](Runtime& runtime, RecordedCall& made) {
    return createStream(runtime, made, pStream, cudaStreamDefault);
  });
}

cudaError_t cudaStreamCreateWithFlags(cudaStream_t* pStream, unsigned int flags) {
  return perform(begin(Call::cudaStreamCreateWithFlags), [&](Runtime& runtime, RecordedCall& made) {
    return createStream(runtime, made, pStream, flags);
  });
}

cudaError_t cudaStreamDestroy(cudaStream_t stream) {
  return perform(beginOn(Call::cudaStreamDestroy, stream), [&](Runtime& runtime, RecordedCall&) {
    return runtime.streams.destroy(stream) ? cudaSuccess : cudaErrorInvalidResourceHandle;
  });
}

cudaError_t cudaStreamSynchronize(cudaStream_t stream) {
  return perform(beginOn(Call::cudaStreamSynchronize, stream), [&](Runtime& runtime, RecordedCall&) {
    return runtime.streams.finish(stream) ? cudaSuccess : cudaErrorInvalidResourceHandle;
  });
}

cudaError_t cudaStreamQuery(cudaStream_t stream) {
  return perform(beginOn(Call::cudaStreamQuery, stream), [&](Runtime& runtime, RecordedCall&) {
    std::size_t tasks = 0;
    if (!runtime.streams.pending(stream, tasks)) return cudaErrorInvalidResourceHandle;
    return tasks == 0 ? cudaSuccess : cudaErrorNotReady;
  });
}

cudaError_t cudaLaunchHostFunc(cudaStream_t stream, cudaHostFn_t fn, void* userData) {
  return perform(beginOn(Call::cudaLaunchHostFunc, stream), [&](Runtime& runtime, RecordedCall&) {
    if (!runtime.streams.isLive(stream)) return cudaErrorInvalidResourceHandle;
    if (!fn) return cudaErrorInvalidValue;
    const bool queued = runtime.streams.submit(stream, [fn, userData] {
      bool& inHostFunction = ThreadState::current().inHostFunction;
      inHostFunction = true;
      fn(userData);
      inHostFunction = false;
    });
    return queued ? cudaSuccess : cudaErrorInvalidResourceHandle;
  });
}
