// The launch calls of the CUDA runtime for programs of a CUDA build on a machine without a GPU: a launched
// kernel's threads run on the CPU, through the kernel's own text, in the order of their stream. Loaded before
// the real runtime together with libcudart_cpu.so, which has the other calls; so the tests of the whole CUDA
// build run anywhere.

#include <cuda_runtime_api.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "tests/cuda/host_fused_kernel.h"
#include "tests/cuda/host_kernels.h"

// What the subset of the runtime's header that we use on the CPU leaves out, as compilers pass it.
struct dim3 {
  unsigned x, y, z;
};
struct uint3;
struct CUkern_st;

namespace {

using launch_recorder::Extent;
using launch_recorder::Launch;

/// The work of one launch; its arguments are copied when it is made.
using Work = std::function<void()>;

/// The launch with the arguments that `kernel` takes, one behind the other.
template <class... P>
Launch withArguments(Launch launch, void (*kernel)(P...), void** arguments) {
  static_cast<void>(kernel);
  for (const std::size_t size : {sizeof(P)...}) {
    const std::size_t offset = launch.parameterBlock.size();
    launch.parameterBlock.resize(offset + size);
    std::memcpy(launch.parameterBlock.data() + offset, *arguments++, size);
    launch.parameters.push_back({static_cast<std::uint16_t>(offset), static_cast<std::uint16_t>(size)});
  }
  return launch;
}

void forEach(const Extent& size, const std::function<void(const Extent&)>& handle) {
  for (unsigned z = 0; z < size.z; ++z) {
    for (unsigned y = 0; y < size.y; ++y) {
      for (unsigned x = 0; x < size.x; ++x) handle({x, y, z});
    }
  }
}

template <class... P>
Work workOf(const Launch& launch, void (*kernel)(P...), void** arguments) {
  const auto runThread = host_kernels::threadsOf(withArguments(launch, kernel, arguments), kernel);
  return [runThread, grid = launch.grid, block = launch.block] {
    forEach(grid,
            [&](const Extent& at) { forEach(block, [&](const Extent& thread) { runThread(at, thread); }); });
  };
}

using MakeWork = Work (*)(const Launch&, void** arguments);

Work lumaWork(const Launch& launch, void** arguments) {
  return workOf(launch, segmask_y_kernel, arguments);
}
Work chromaWork(const Launch& launch, void** arguments) {
  return workOf(launch, segmask_uv_kernel, arguments);
}
Work fusedWork(const Launch& launch, void** arguments) {
  return workOf(launch, segmask_fused_kernel, arguments);
}

/// Kernels by their host function, for each registered image. Never destroyed: libraries unregister late.
struct Registry {
  using Kernels = std::map<const void*, MakeWork>;

  std::mutex mutex;
  std::map<void**, Kernels> images;

  MakeWork find(const void* hostFunction) {
    const std::lock_guard<std::mutex> lock(mutex);
    for (const auto& [image, kernels] : images) {
      const auto found = kernels.find(hostFunction);
      if (found != kernels.end()) return found->second;
    }
    return nullptr;
  }
};

Registry& registry() {
  static auto* const made = new Registry;
  return *made;
}

struct Configuration {
  dim3 grid, block;
  std::size_t sharedBytes;
  cudaStream_t stream;
};
thread_local std::vector<Configuration> configurations;

void CUDART_CB runWork(void* data) {
  const std::unique_ptr<Work> work(static_cast<Work*>(data));
  (*work)();
}

cudaError_t launch(MakeWork makeWork, dim3 grid, dim3 block, void** arguments, std::size_t sharedBytes,
                   cudaStream_t stream) {
  if (makeWork == nullptr || sharedBytes != 0) {
    std::fputs("a kernel was launched that does not run on the CPU\n", stderr);
    std::abort();
  }
  Launch record{};
  record.grid = {grid.x, grid.y, grid.z};
  record.block = {block.x, block.y, block.z};
  auto work = std::make_unique<Work>(makeWork(record, arguments));
  const cudaError_t error = cudaLaunchHostFunc(stream, runWork, work.get());
  if (error == cudaSuccess) static_cast<void>(work.release());
  return error;
}

}  // namespace

// The names with two underscores are those that compilers generate calls of.
extern "C" {

void** __cudaRegisterFatBinary(void* /*image*/) {
  auto** const handle = static_cast<void**>(std::malloc(1));
  if (handle == nullptr) std::abort();
  const std::lock_guard<std::mutex> lock(registry().mutex);
  registry().images[handle];
  return handle;
}

void __cudaRegisterFatBinaryEnd(void** /*image*/) {}

void __cudaUnregisterFatBinary(void** image) {
  const std::lock_guard<std::mutex> lock(registry().mutex);
  registry().images.erase(image);
  std::free(image);
}

void __cudaRegisterFunction(void** image, const char* hostFunction, char* /*deviceFunction*/,
                            const char* symbol, int /*threadLimit*/, uint3* /*thread*/, uint3* /*block*/,
                            dim3* /*blockSize*/, dim3* /*gridSize*/, int* /*warpSize*/) {
  const std::lock_guard<std::mutex> lock(registry().mutex);
  Registry::Kernels& kernels = registry().images[image];
  if (std::strstr(symbol, "segmask_y_kernel") != nullptr) kernels[hostFunction] = lumaWork;
  if (std::strstr(symbol, "segmask_uv_kernel") != nullptr) kernels[hostFunction] = chromaWork;
  if (std::strstr(symbol, "segmask_fused_kernel") != nullptr) kernels[hostFunction] = fusedWork;
}

char __cudaInitModule(void** /*image*/) {
  return 1;
}

unsigned __cudaPushCallConfiguration(dim3 grid, dim3 block, std::size_t sharedBytes, cudaStream_t stream) {
  configurations.push_back({grid, block, sharedBytes, stream});
  return 0;
}

cudaError_t __cudaPopCallConfiguration(dim3* grid, dim3* block, std::size_t* sharedBytes, void* stream) {
  const Configuration configuration = configurations.back();
  configurations.pop_back();
  *grid = configuration.grid;
  *block = configuration.block;
  *sharedBytes = configuration.sharedBytes;
  *static_cast<cudaStream_t*>(stream) = configuration.stream;
  return cudaSuccess;
}

// CUDA 12: a kernel is named by the address of its host function.
cudaError_t cudaLaunchKernel(const void* hostFunction, dim3 grid, dim3 block, void** arguments,
                             std::size_t sharedBytes, cudaStream_t stream) {
  return launch(registry().find(hostFunction), grid, block, arguments, sharedBytes, stream);
}

// CUDA 13: a handle is asked for at the first launch from a place and kept there.
cudaError_t __cudaGetKernel(CUkern_st** handle, const void* hostFunction) {
  *handle = reinterpret_cast<CUkern_st*>(registry().find(hostFunction));
  return cudaSuccess;
}

cudaError_t __cudaLaunchKernel(CUkern_st* handle, dim3 grid, dim3 block, void** arguments,
                               std::size_t sharedBytes, cudaStream_t stream) {
  return launch(reinterpret_cast<MakeWork>(handle), grid, block, arguments, sharedBytes, stream);
}

}  // extern "C"
