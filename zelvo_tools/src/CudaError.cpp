#include "src/CudaError.h"

#include <stdexcept>
#include <string>

namespace zelvo {

void throwOnError(cudaError_t error, const char* doing) {
  if (error == cudaSuccess) return;
  throw std::runtime_error(std::string(doing) + ": " + cudaGetErrorName(error));
}

}  // namespace zelvo
