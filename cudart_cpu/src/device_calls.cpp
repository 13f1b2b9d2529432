#include "src/Runtime.h"

using cudart_cpu::begin;
using cudart_cpu::Call;
using cudart_cpu::perform;
using cudart_cpu::RecordedCall;
using cudart_cpu::Runtime;

cudaError_t cudaGetDeviceCount(int* count) {
  return perform(begin(Call::cudaGetDeviceCount), [&](Runtime&, RecordedCall&) {
    if (!count) return cudaErrorInvalidValue;
    *count = 1;
    return cudaSuccess;
  });
}

cudaError_t cudaDeviceSynchronize() {
  return perform(begin(Call::cudaDeviceSynchronize), [](Runtime& runtime, RecordedCall&) {
    runtime.streams.finishAll();
    return cudaSuccess;
  });
}
