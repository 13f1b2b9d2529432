#pragma once

#include <cuda_runtime.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace gpu_check {

/// Throws std::runtime_error with what was being done and the CUDA error's name.
inline void require(cudaError_t error, const char* doing) {
  if (error != cudaSuccess) throw std::runtime_error(std::string(doing) + ": " + cudaGetErrorName(error));
}

/// Device memory of a fixed size.
class DeviceBytes {
 public:
  explicit DeviceBytes(std::size_t size) : size_(size) {
    void* address = nullptr;
    require(cudaMalloc(&address, size), "cudaMalloc");
    address_ = static_cast<unsigned char*>(address);
  }
  ~DeviceBytes() { cudaFree(address_); }
  DeviceBytes(const DeviceBytes&) = delete;
  DeviceBytes& operator=(const DeviceBytes&) = delete;

  unsigned char* get() const { return address_; }

  /// Queues the copy; `host` is pageable, so it may be reused at once.
  void upload(const std::vector<unsigned char>& host, cudaStream_t stream) {
    require(cudaMemcpyAsync(address_, host.data(), host.size(), cudaMemcpyHostToDevice, stream), "upload");
  }

  /// Waits for the stream.
  std::vector<unsigned char> download(cudaStream_t stream) const {
    std::vector<unsigned char> host(size_);
    require(cudaMemcpyAsync(host.data(), address_, size_, cudaMemcpyDeviceToHost, stream), "download");
    require(cudaStreamSynchronize(stream), "waiting for the stream");
    return host;
  }

 private:
  std::size_t size_;
  unsigned char* address_ = nullptr;
};

class Stream {
 public:
  Stream() { require(cudaStreamCreateWithFlags(&stream_, cudaStreamNonBlocking), "making a stream"); }
  ~Stream() { cudaStreamDestroy(stream_); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  cudaStream_t get() const { return stream_; }

 private:
  cudaStream_t stream_ = nullptr;
};

}  // namespace gpu_check
