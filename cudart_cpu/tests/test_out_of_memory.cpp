#include "test_support/Allocations.h"
#include "tests/cudart_fixture.h"

namespace {

class OutOfMemory : public CudartTest {};

void doNothing(void* /*userData*/) {}

TEST_F(OutOfMemory, WorkThatNeedNotWaitAllocatesNothing) {
  const OwnedStream stream;
  const OwnedEvent event;
  const Buffer buffer(8);
  const PinnedBuffer pinned(4);
  Bytes pageable(4);
  const long before = allocationsMade();
  EXPECT_EQ(cudaMemcpyAsync(buffer.get(), pinned.get(), 4, cudaMemcpyHostToDevice, stream.get()),
            cudaSuccess);
  EXPECT_EQ(cudaMemcpyAsync(buffer.get(), pageable.data(), 4, cudaMemcpyHostToDevice, stream.get()),
            cudaSuccess);
  EXPECT_EQ(cudaMemset2DAsync(buffer.get(), 4, 0, 2, 2, stream.get()), cudaSuccess);
  EXPECT_EQ(cudaLaunchHostFunc(stream.get(), &doNothing, nullptr), cudaSuccess);
  EXPECT_EQ(cudaEventRecord(event.get(), stream.get()), cudaSuccess);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaSuccess);
  EXPECT_EQ(cudaEventSynchronize(event.get()), cudaSuccess);
  EXPECT_EQ(cudaStreamSynchronize(stream.get()), cudaSuccess);
  EXPECT_EQ(allocationsMade(), before);
}

TEST_F(OutOfMemory, WorkThatCannotBeQueuedIsRefused) {
  const OwnedStream stream;
  const OwnedEvent event;
  const Buffer buffer(4);
  Bytes pageable(4);
  // Held already, so that each call below has to allocate its place in the queue.
  cudart_cpu::hold(stream.get());
  ASSERT_EQ(cudaLaunchHostFunc(stream.get(), &doNothing, nullptr), cudaSuccess);
  operatorNew.start(0, Countdown::Fails::FromThenOn);
  cudaError_t uploading = cudaSuccess;
  cudaError_t filling = cudaSuccess;
  cudaError_t recording = cudaSuccess;
  {
    const Failing failing(operatorNew);
    uploading = cudaMemcpyAsync(buffer.get(), pageable.data(), 4, cudaMemcpyHostToDevice, stream.get());
    filling = cudaMemsetAsync(buffer.get(), 0, 4, stream.get());
    recording = cudaEventRecord(event.get(), stream.get());
  }
  EXPECT_EQ(uploading, cudaErrorMemoryAllocation);
  EXPECT_EQ(filling, cudaErrorMemoryAllocation);
  EXPECT_EQ(recording, cudaErrorMemoryAllocation);
  EXPECT_EQ(cudaGetLastError(), cudaErrorMemoryAllocation);
  EXPECT_EQ(cudart_cpu::heldWork(stream.get()), 1u);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaSuccess) << "not recorded";
}

TEST_F(OutOfMemory, WhatCannotBeCreatedLeavesNothingBehind) {
  cudaEvent_t event = nullptr;
  void* pinned = nullptr;
  cudaError_t creating = cudaSuccess;
  cudaError_t pinning = cudaSuccess;
  const auto create = [&] {
    {
      const Failing failing(operatorNew);
      creating = cudaEventCreateWithFlags(&event, cudaEventDefault);
      pinning = cudaHostAlloc(&pinned, 4, cudaHostAllocDefault);
    }
    EXPECT_EQ(cudart_cpu::liveEvents(), creating == cudaSuccess ? 1u : 0u);
    EXPECT_EQ(cudart_cpu::livePinnedAllocations().count, pinning == cudaSuccess ? 1u : 0u);
    const bool refused = creating == cudaErrorMemoryAllocation || pinning == cudaErrorMemoryAllocation;
    EXPECT_EQ(refused, operatorNew.failed());
    EXPECT_EQ(cudaEventDestroy(event),
              creating == cudaSuccess ? cudaSuccess : cudaErrorInvalidResourceHandle);
    EXPECT_EQ(cudaFreeHost(pinned), cudaSuccess) << "null when there is none";
    event = nullptr;
    pinned = nullptr;
  };
  EXPECT_GT(runWithEachFailure(operatorNew, create), 0);
}

}  // namespace
