#pragma once

#include <cuda_runtime_api.h>

#include <stdexcept>

namespace plugin_test {

/// A stream of its own, for as long as the object lives. Without order to the null stream unless the flags
/// say otherwise: a test that holds it back must see only what was queued on it.
class TestStream {
 public:
  explicit TestStream(unsigned flags = cudaStreamNonBlocking) {
    check(cudaStreamCreateWithFlags(&stream_, flags));
  }
  ~TestStream() { cudaStreamDestroy(stream_); }
  TestStream(const TestStream&) = delete;
  TestStream& operator=(const TestStream&) = delete;

  cudaStream_t get() const { return stream_; }
  void synchronize() const { check(cudaStreamSynchronize(stream_)); }

 private:
  static void check(cudaError_t error) {
    if (error != cudaSuccess) throw std::runtime_error(cudaGetErrorString(error));
  }

  cudaStream_t stream_ = nullptr;
};

}  // namespace plugin_test
