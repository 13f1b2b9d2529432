// The CUDA runtime calls this project uses, implemented on the CPU: the C++ overloads. The calls
// themselves, with their contracts and their differences from the CUDA runtime, are in cuda_runtime_api.h.

#if !defined(__CUDA_RUNTIME_H__)
#define __CUDA_RUNTIME_H__  // NOLINT(bugprone-reserved-identifier): the toolkit's own guard

#include "cuda_runtime_api.h"

/// cudaMalloc for a pointer of any type; otherwise the same call.
template <class T>
inline cudaError_t cudaMalloc(T** devPtr, size_t size) {
  if (!devPtr) return ::cudaMalloc(static_cast<void**>(nullptr), size);
  void* memory = nullptr;
  const cudaError_t error = ::cudaMalloc(&memory, size);
  if (error == cudaSuccess) *devPtr = static_cast<T*>(memory);
  return error;
}

#endif
