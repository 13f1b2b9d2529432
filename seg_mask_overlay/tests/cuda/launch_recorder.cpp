#include "tests/cuda/launch_recorder.h"

#include <cuda_runtime_api.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <utility>

namespace launch_recorder {
namespace {

/// A registered kernel; what __cudaGetKernel hands out points to it.
struct KnownKernel {
  std::string name;
  std::vector<device_image::Parameter> parameters;
};

/// What __cudaRegisterFatBinary gets the address of.
struct ImageWrapper {
  std::uint32_t magic;
  std::uint32_t version;
  const void* container;
  void* unused;
};

struct RegisteredImage {
  std::vector<device_image::Kernel> kernels;
};

struct Configuration {
  dim3 grid;
  dim3 block;
  std::size_t sharedBytes;
  cudaStream_t stream;
};

struct State {
  std::map<const void*, std::unique_ptr<KnownKernel>> kernels;  // by their host function
  std::vector<std::unique_ptr<RegisteredImage>> images;
  std::vector<std::string> registrations;
  std::vector<Configuration> configurations;
  std::vector<Launch> launches;
  std::vector<std::string> calls;
  int pushToFail = 0;
  int launchToFail = 0;
  cudaError_t lastError = cudaSuccess;
  bool reportsUnregistering = false;
};

/// Made at the first use and never destroyed: images register before this file's own objects would be made,
/// and unregister after they would be gone.
State& state() {
  static auto* const made = new State;
  return *made;
}

void called(const char* function) {
  state().calls.emplace_back(function);
}

/// Counts down to the call that is to fail.
bool failsNow(int& callsUntilFailure) {
  return callsUntilFailure > 0 && --callsUntilFailure == 0;
}

cudaError_t failed(cudaError_t error) {
  return state().lastError = error;
}

const KnownKernel* kernelOf(const void* hostFunction) {
  const auto found = state().kernels.find(hostFunction);
  return found == state().kernels.end() ? nullptr : found->second.get();
}

std::vector<char> parameterBlock(const std::vector<device_image::Parameter>& parameters, void** arguments) {
  std::vector<char> block;
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const auto& [offset, size] = parameters[i];
    block.resize(std::max<std::size_t>(block.size(), offset + std::size_t{size}));
    std::memcpy(block.data() + offset, arguments[i], size);
  }
  return block;
}

cudaError_t launch(const KnownKernel* kernel, dim3 grid, dim3 block, void** arguments,
                   std::size_t sharedBytes, cudaStream_t stream) {
  if (kernel == nullptr) return failed(cudaErrorInvalidDeviceFunction);
  if (failsNow(state().launchToFail)) return failed(cudaErrorLaunchOutOfResources);
  state().launches.push_back({kernel->name,
                              {grid.x, grid.y, grid.z},
                              {block.x, block.y, block.z},
                              sharedBytes,
                              stream,
                              kernel->parameters,
                              parameterBlock(kernel->parameters, arguments)});
  return cudaSuccess;
}

}  // namespace

void reset() {
  State& now = state();
  now.launches.clear();
  now.calls.clear();
  now.pushToFail = 0;
  now.launchToFail = 0;
  now.lastError = cudaSuccess;
}

const std::vector<Launch>& launches() {
  return state().launches;
}
const std::vector<std::string>& calls() {
  return state().calls;
}
void failPush(int n) {
  state().pushToFail = n;
}
void failLaunch(int n) {
  state().launchToFail = n;
}
const std::vector<std::string>& registrations() {
  return state().registrations;
}
std::size_t registeredImages() {
  return state().images.size();
}
void reportUnregistering() {
  state().reportsUnregistering = true;
}

}  // namespace launch_recorder

using namespace launch_recorder;

// The runtime's functions. The names with two underscores are those that compilers generate calls of.
extern "C" {

void** __cudaRegisterFatBinary(void* address) {
  state().registrations.emplace_back(__func__);
  ImageWrapper wrapper;
  std::memcpy(&wrapper, address, sizeof wrapper);
  auto registered = std::make_unique<RegisteredImage>();
  for (device_image::Image& image : device_image::imagesOf(device_image::containerAt(wrapper.container))) {
    for (device_image::Kernel& kernel : image.kernels) registered->kernels.push_back(std::move(kernel));
  }
  state().images.push_back(std::move(registered));
  return reinterpret_cast<void**>(state().images.back().get());
}

void __cudaRegisterFunction(void** image, const char* hostFunction, char* /*deviceFunction*/,
                            const char* symbol, int /*threadLimit*/, uint3* /*thread*/, uint3* /*block*/,
                            dim3* /*blockSize*/, dim3* /*gridSize*/, int* /*warpSize*/) {
  const std::string name = device_image::demangled(symbol);
  state().registrations.push_back(__func__ + (" " + name));
  for (const device_image::Kernel& kernel : reinterpret_cast<RegisteredImage*>(image)->kernels) {
    if (kernel.symbol != symbol) continue;
    state().kernels[hostFunction] = std::make_unique<KnownKernel>(KnownKernel{name, kernel.parameters});
    return;
  }
}

void __cudaRegisterFatBinaryEnd(void** /*image*/) {
  state().registrations.emplace_back(__func__);
}

void __cudaUnregisterFatBinary(void** image) {
  auto& images = state().images;
  const auto isIt = [&](const auto& registered) {
    return registered.get() == reinterpret_cast<RegisteredImage*>(image);
  };
  images.erase(std::remove_if(images.begin(), images.end(), isIt), images.end());
  if (state().reportsUnregistering) std::fprintf(stderr, "unregistered, %zu left\n", images.size());
}

char __cudaInitModule(void** /*image*/) {
  called(__func__);
  return 1;
}

unsigned __cudaPushCallConfiguration(dim3 grid, dim3 block, std::size_t sharedBytes, cudaStream_t stream) {
  called(__func__);
  if (failsNow(state().pushToFail)) return static_cast<unsigned>(failed(cudaErrorInvalidConfiguration));
  state().configurations.push_back({grid, block, sharedBytes, stream});
  return 0;
}

cudaError_t __cudaPopCallConfiguration(dim3* grid, dim3* block, std::size_t* sharedBytes, void* stream) {
  called(__func__);
  auto& configurations = state().configurations;
  if (configurations.empty()) return failed(cudaErrorMissingConfiguration);
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
  called(__func__);
  return launch(kernelOf(hostFunction), grid, block, arguments, sharedBytes, stream);
}

// CUDA 13: a handle is asked for at the first launch from a place and kept there.
cudaError_t __cudaGetKernel(cudaKernel_t* handle, const void* hostFunction) {
  called(__func__);
  const KnownKernel* kernel = kernelOf(hostFunction);
  if (kernel == nullptr) return failed(cudaErrorInvalidDeviceFunction);
  *handle = reinterpret_cast<cudaKernel_t>(const_cast<KnownKernel*>(kernel));
  return cudaSuccess;
}

cudaError_t __cudaLaunchKernel(cudaKernel_t handle, dim3 grid, dim3 block, void** arguments,
                               std::size_t sharedBytes, cudaStream_t stream) {
  called(__func__);
  return launch(reinterpret_cast<const KnownKernel*>(handle), grid, block, arguments, sharedBytes, stream);
}

// Memory of the device and of the host is the host's; a copy is made at the call, which is before any launch
// is run.
cudaError_t cudaMalloc(void** address, std::size_t size) {
  called(__func__);
  *address = std::malloc(size);
  return *address != nullptr ? cudaSuccess : failed(cudaErrorMemoryAllocation);
}

cudaError_t cudaFree(void* address) {
  called(__func__);
  std::free(address);
  return cudaSuccess;
}

cudaError_t cudaHostAlloc(void** address, std::size_t size, unsigned /*flags*/) {
  called(__func__);
  *address = std::malloc(size);
  return *address != nullptr ? cudaSuccess : failed(cudaErrorMemoryAllocation);
}

cudaError_t cudaFreeHost(void* address) {
  called(__func__);
  std::free(address);
  return cudaSuccess;
}

cudaError_t cudaMemcpyAsync(void* to, const void* from, std::size_t size, cudaMemcpyKind /*kind*/,
                            cudaStream_t /*stream*/) {
  called(__func__);
  std::memcpy(to, from, size);
  return cudaSuccess;
}

// Events come at once.
cudaError_t cudaEventCreateWithFlags(cudaEvent_t* event, unsigned /*flags*/) {
  called(__func__);
  *event = static_cast<cudaEvent_t>(std::malloc(1));
  return *event != nullptr ? cudaSuccess : failed(cudaErrorMemoryAllocation);
}

cudaError_t cudaEventDestroy(cudaEvent_t event) {
  called(__func__);
  std::free(event);
  return cudaSuccess;
}

cudaError_t cudaEventRecord(cudaEvent_t /*event*/, cudaStream_t /*stream*/) {
  called(__func__);
  return cudaSuccess;
}

cudaError_t cudaEventQuery(cudaEvent_t /*event*/) {
  called(__func__);
  return cudaSuccess;
}

cudaError_t cudaEventSynchronize(cudaEvent_t /*event*/) {
  called(__func__);
  return cudaSuccess;
}

// What a launcher may be tempted to call, and is not to.
cudaError_t cudaGetLastError() {
  called(__func__);
  return std::exchange(state().lastError, cudaSuccess);
}

cudaError_t cudaPeekAtLastError() {
  called(__func__);
  return state().lastError;
}

cudaError_t cudaStreamQuery(cudaStream_t /*stream*/) {
  called(__func__);
  return cudaSuccess;
}

cudaError_t cudaStreamSynchronize(cudaStream_t /*stream*/) {
  called(__func__);
  return cudaSuccess;
}

cudaError_t cudaDeviceSynchronize() {
  called(__func__);
  return cudaSuccess;
}

}  // extern "C"
