#include "host/CudaStream.h"

#include <cuda_runtime_api.h>

#include <string>

#include "io/UserError.h"

namespace segmask {

CudaStream::CudaStream() {
  const cudaError_t error = cudaStreamCreateWithFlags(&stream_, cudaStreamNonBlocking);
  if (error != cudaSuccess) {
    throw UserError(std::string("no usable GPU: ") + cudaGetErrorString(error));
  }
}

CudaStream::~CudaStream() {
  cudaStreamSynchronize(stream_);
  cudaStreamDestroy(stream_);
}

}  // namespace segmask
