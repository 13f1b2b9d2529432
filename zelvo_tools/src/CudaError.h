#pragma once

#include <cuda_runtime_api.h>

namespace zelvo {

/// Throws std::runtime_error "<doing>: <name of the error>" unless `error` is cudaSuccess.
void throwOnError(cudaError_t error, const char* doing);

}  // namespace zelvo
