#pragma once

#include <cuda_runtime.h>
#include <gtest/gtest.h>

#include <vector>

#include "cudart_cpu/control.h"

/// Starts and ends each test with a runtime nobody has touched, and fails one that leaves memory or events
/// behind.
class CudartTest : public ::testing::Test {
 protected:
  void SetUp() override { cudaGetLastError(); }
  void TearDown() override {
    EXPECT_EQ(cudart_cpu::liveAllocations().count, 0u);
    EXPECT_EQ(cudart_cpu::liveAllocations().bytes, 0u);
    EXPECT_EQ(cudart_cpu::livePinnedAllocations().count, 0u);
    EXPECT_EQ(cudart_cpu::livePinnedAllocations().bytes, 0u);
    EXPECT_EQ(cudart_cpu::liveEvents(), 0u);
  }

 private:
  cudart_cpu::ScopedReset reset_;
};

/// Device memory for the length of a test.
class Buffer {
 public:
  explicit Buffer(std::size_t bytes) { EXPECT_EQ(cudaMalloc(&data_, bytes), cudaSuccess); }
  ~Buffer() { EXPECT_EQ(cudaFree(data_), cudaSuccess); }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  unsigned char* get() const { return data_; }

 private:
  unsigned char* data_ = nullptr;
};

/// Page-locked host memory for the length of a test.
class PinnedBuffer {
 public:
  explicit PinnedBuffer(std::size_t bytes) {
    void* data = nullptr;
    EXPECT_EQ(cudaHostAlloc(&data, bytes, cudaHostAllocDefault), cudaSuccess);
    data_ = static_cast<unsigned char*>(data);
  }
  ~PinnedBuffer() { EXPECT_EQ(cudaFreeHost(data_), cudaSuccess); }
  PinnedBuffer(const PinnedBuffer&) = delete;
  PinnedBuffer& operator=(const PinnedBuffer&) = delete;

  unsigned char* get() const { return data_; }

 private:
  unsigned char* data_ = nullptr;
};

/// A stream for the length of a test.
class OwnedStream {
 public:
  explicit OwnedStream(unsigned flags = cudaStreamDefault) {
    EXPECT_EQ(cudaStreamCreateWithFlags(&stream_, flags), cudaSuccess);
  }
  ~OwnedStream() { EXPECT_EQ(cudaStreamDestroy(stream_), cudaSuccess); }
  OwnedStream(const OwnedStream&) = delete;
  OwnedStream& operator=(const OwnedStream&) = delete;

  cudaStream_t get() const { return stream_; }

 private:
  cudaStream_t stream_ = nullptr;
};

/// An event for the length of a test.
class OwnedEvent {
 public:
  explicit OwnedEvent(unsigned flags = cudaEventDefault) {
    EXPECT_EQ(cudaEventCreateWithFlags(&event_, flags), cudaSuccess);
  }
  ~OwnedEvent() { EXPECT_EQ(cudaEventDestroy(event_), cudaSuccess); }
  OwnedEvent(const OwnedEvent&) = delete;
  OwnedEvent& operator=(const OwnedEvent&) = delete;

  cudaEvent_t get() const { return event_; }

 private:
  cudaEvent_t event_ = nullptr;
};

using Bytes = std::vector<unsigned char>;
