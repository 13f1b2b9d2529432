// Names the first CUDA device and the versions that meet on it; exit code 77 when there is none.

#include <cuda_runtime.h>

#include <cstdio>

int main() {
  int devices = 0;
  const cudaError_t error = cudaGetDeviceCount(&devices);
  if (error == cudaErrorNoDevice || error == cudaErrorInsufficientDriver ||
      (error == cudaSuccess && devices == 0)) {
    std::printf("no GPU (%s)\n", cudaGetErrorString(error));
    return 77;
  }
  cudaDeviceProp card{};
  int driver = 0;
  int runtime = 0;
  if (error != cudaSuccess || cudaGetDeviceProperties(&card, 0) != cudaSuccess ||
      cudaDriverGetVersion(&driver) != cudaSuccess || cudaRuntimeGetVersion(&runtime) != cudaSuccess) {
    std::printf("%s\n", cudaGetErrorString(cudaGetLastError()));
    return 1;
  }
  std::printf("%s, compute capability %d.%d, driver for CUDA %d.%d, runtime %d.%d\n", card.name, card.major,
              card.minor, driver / 1000, driver % 1000 / 10, runtime / 1000, runtime % 1000 / 10);
  return 0;
}
