#include "src/Runtime.h"

using cudart_cpu::Call;
using cudart_cpu::RecordedCall;
using cudart_cpu::Runtime;
using cudart_cpu::ThreadState;

namespace {

struct ErrorText {
  cudaError_t error;
  const char* name;
  const char* text;
};

constexpr ErrorText kErrorTexts[] = {
    {cudaSuccess, "cudaSuccess", "no error"},
    {cudaErrorInvalidValue, "cudaErrorInvalidValue", "an argument is not valid"},
    {cudaErrorMemoryAllocation, "cudaErrorMemoryAllocation", "no memory left"},
    {cudaErrorInitializationError, "cudaErrorInitializationError", "the device could not be set up"},
    {cudaErrorInvalidPitchValue, "cudaErrorInvalidPitchValue", "a pitch is smaller than its row"},
    {cudaErrorInvalidMemcpyDirection, "cudaErrorInvalidMemcpyDirection", "not a kind of copy"},
    {cudaErrorNoDevice, "cudaErrorNoDevice", "there is no device"},
    {cudaErrorInvalidResourceHandle, "cudaErrorInvalidResourceHandle", "not a live stream or event"},
    {cudaErrorNotReady, "cudaErrorNotReady", "work is left to do"},
    {cudaErrorIllegalAddress, "cudaErrorIllegalAddress", "an address is not the device's"},
    {cudaErrorLaunchFailure, "cudaErrorLaunchFailure", "device code failed"},
    {cudaErrorNotPermitted, "cudaErrorNotPermitted", "not allowed in a host function"},
    {cudaErrorUnknown, "cudaErrorUnknown", "unknown error"},
};

constexpr ErrorText kUnrecognized = {cudaErrorUnknown, "unrecognized error code", "unrecognized error code"};

const ErrorText& textOf(cudaError_t error) {
  for (const ErrorText& entry : kErrorTexts) {
    if (entry.error == error) return entry;
  }
  return kUnrecognized;
}

/// Returns the thread's last error. The error is the result of this call and not its failure, so it must not
/// become the last error again.
cudaError_t answerLastError(Call call, bool forget) {
  Runtime& runtime = Runtime::instance();
  cudaError_t& lastError = ThreadState::current().lastError;
  RecordedCall made = cudart_cpu::begin(call);
  made.result = runtime.log.enter(call);
  if (made.result == cudaSuccess) {
    made.result = lastError;
    if (forget) lastError = cudaSuccess;
  }
  runtime.log.leave(made);
  return made.result;
}

}  // namespace

cudaError_t cudaGetLastError() {
  return answerLastError(Call::cudaGetLastError, true);
}

cudaError_t cudaPeekAtLastError() {
  return answerLastError(Call::cudaPeekAtLastError, false);
}

const char* cudaGetErrorName(cudaError_t error) {
  return textOf(error).name;
}

const char* cudaGetErrorString(cudaError_t error) {
  return textOf(error).text;
}
