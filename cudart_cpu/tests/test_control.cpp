#include <limits>
#include <set>
#include <stdexcept>
#include <string>

#include "tests/cudart_fixture.h"

namespace {

using cudart_cpu::Call;

class Control : public CudartTest {
 protected:
  // SetUp of the base asks for the last error, which is a call.
  void SetUp() override {
    CudartTest::SetUp();
    cudart_cpu::resetCounters();
  }
};

TEST_F(Control, EveryCallIsCountedUnderItsOwnName) {
  const Buffer buffer(4);
  void* pinned = nullptr;
  char host[4] = {};
  int devices = 0;
  cudaStream_t one = nullptr;
  cudaStream_t two = nullptr;
  cudaGetDeviceCount(&devices);
  cudaStreamCreate(&one);
  cudaStreamCreateWithFlags(&two, cudaStreamNonBlocking);
  cudaMemcpy(buffer.get(), host, 4, cudaMemcpyHostToDevice);
  cudaMemcpyAsync(buffer.get(), host, 4, cudaMemcpyHostToDevice, one);
  cudaMemcpy2DAsync(buffer.get(), 2, host, 2, 2, 2, cudaMemcpyHostToDevice, one);
  cudaMemsetAsync(buffer.get(), 0, 4, one);
  cudaMemset2DAsync(buffer.get(), 2, 0, 2, 2, one);
  cudaLaunchHostFunc(
      one, [](void*) {}, nullptr);
  cudaStreamQuery(one);
  cudaEvent_t event = nullptr;
  cudaEventCreateWithFlags(&event, cudaEventDisableTiming);
  cudaEventRecord(event, one);
  cudaEventQuery(event);
  cudaEventSynchronize(event);
  cudaEventDestroy(event);
  cudaStreamSynchronize(one);
  cudaDeviceSynchronize();
  cudaFree(nullptr);
  cudaHostAlloc(&pinned, 4, cudaHostAllocDefault);
  cudaFreeHost(pinned);
  cudaPeekAtLastError();
  cudaGetLastError();
  cudaStreamDestroy(one);
  cudaStreamDestroy(two);
  const std::set<Call> twice = {Call::cudaStreamDestroy};
  std::set<std::string> names;
  for (int i = 0; i <= static_cast<int>(Call::cudaLaunchHostFunc); ++i) {
    const auto call = static_cast<Call>(i);
    EXPECT_EQ(cudart_cpu::count(call), twice.count(call) + 1) << cudart_cpu::callName(call);
    names.insert(cudart_cpu::callName(call));
  }
  EXPECT_EQ(names.size(), 24u);
  EXPECT_EQ(cudart_cpu::totalCalls(), 25u);
  EXPECT_EQ(cudart_cpu::waitingCalls(), 4u);
  cudaGetErrorName(cudaSuccess);
  cudaGetErrorString(cudaSuccess);
  EXPECT_EQ(cudart_cpu::totalCalls(), 25u);
  cudart_cpu::resetCounters();
  EXPECT_EQ(cudart_cpu::totalCalls(), 0u);
  EXPECT_EQ(cudart_cpu::count(Call::cudaMalloc), 0u);
}

TEST_F(Control, NothingIsRecordedUnlessAskedFor) {
  cudaFree(nullptr);
  EXPECT_TRUE(cudart_cpu::recordedCalls().empty());
  cudart_cpu::recordCalls(true);
  cudaFree(nullptr);
  EXPECT_EQ(cudart_cpu::recordedCalls().size(), 1u);
  cudart_cpu::recordCalls(false);
  cudaFree(nullptr);
  EXPECT_EQ(cudart_cpu::recordedCalls().size(), 1u);
  cudart_cpu::resetCounters();
  EXPECT_TRUE(cudart_cpu::recordedCalls().empty());
}

TEST_F(Control, RecordsTellOrderSizesAndResults) {
  cudart_cpu::recordCalls(true);
  unsigned char* memory = nullptr;
  char host[12] = {};
  cudaStream_t stream = nullptr;
  ASSERT_EQ(cudaMalloc(&memory, 12), cudaSuccess);
  ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
  ASSERT_EQ(cudaMemcpyAsync(memory, host, 7, cudaMemcpyHostToDevice, stream), cudaSuccess);
  ASSERT_EQ(cudaMemcpy2DAsync(memory, 4, host, 3, 3, 2, cudaMemcpyHostToDevice, stream), cudaSuccess);
  constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();
  ASSERT_EQ(cudaMemcpy2DAsync(memory, kHuge, host, kHuge, kHuge, 2, cudaMemcpyHostToDevice, stream),
            cudaErrorInvalidValue);
  ASSERT_EQ(cudaMemsetAsync(memory, 0, 13, stream), cudaErrorInvalidValue);
  ASSERT_EQ(cudaMemset2DAsync(memory, 5, 0, 2, 3, stream), cudaSuccess);
  ASSERT_EQ(cudaMemset2DAsync(memory, kHuge, 0, kHuge, 2, stream), cudaErrorInvalidValue);
  void* pinned = nullptr;
  cudaEvent_t event = nullptr;
  ASSERT_EQ(cudaHostAlloc(&pinned, 5, cudaHostAllocDefault), cudaSuccess);
  ASSERT_EQ(cudaEventCreateWithFlags(&event, cudaEventDefault), cudaSuccess);
  ASSERT_EQ(cudaEventRecord(event, stream), cudaSuccess);
  ASSERT_EQ(cudaEventDestroy(event), cudaSuccess);
  ASSERT_EQ(cudaFreeHost(pinned), cudaSuccess);
  ASSERT_EQ(cudaStreamDestroy(stream), cudaSuccess);
  ASSERT_EQ(cudaFree(memory), cudaSuccess);

  const auto calls = cudart_cpu::recordedCalls();
  struct Expected {
    Call call;
    std::size_t bytes;
    cudaMemcpyKind kind;
    const void* memory;
    cudaStream_t stream;
    cudaError_t result;
  };
  const auto up = cudaMemcpyHostToDevice;
  const auto none = cudaMemcpyDefault;
  const Expected expected[] = {{Call::cudaMalloc, 12, none, memory, nullptr, cudaSuccess},
                               {Call::cudaStreamCreate, 0, none, nullptr, stream, cudaSuccess},
                               {Call::cudaMemcpyAsync, 7, up, memory, stream, cudaSuccess},
                               {Call::cudaMemcpy2DAsync, 6, up, memory, stream, cudaSuccess},
                               {Call::cudaMemcpy2DAsync, kHuge, up, memory, stream, cudaErrorInvalidValue},
                               {Call::cudaMemsetAsync, 13, none, memory, stream, cudaErrorInvalidValue},
                               {Call::cudaMemset2DAsync, 6, none, memory, stream, cudaSuccess},
                               {Call::cudaMemset2DAsync, kHuge, none, memory, stream, cudaErrorInvalidValue},
                               {Call::cudaHostAlloc, 5, none, pinned, nullptr, cudaSuccess},
                               {Call::cudaEventCreateWithFlags, 0, none, nullptr, nullptr, cudaSuccess},
                               {Call::cudaEventRecord, 0, none, nullptr, stream, cudaSuccess},
                               {Call::cudaEventDestroy, 0, none, nullptr, nullptr, cudaSuccess},
                               {Call::cudaFreeHost, 5, none, pinned, nullptr, cudaSuccess},
                               {Call::cudaStreamDestroy, 0, none, nullptr, stream, cudaSuccess},
                               {Call::cudaFree, 12, none, memory, nullptr, cudaSuccess}};
  ASSERT_EQ(calls.size(), std::size(expected));
  for (std::size_t i = 0; i < calls.size(); ++i) {
    SCOPED_TRACE(cudart_cpu::callName(expected[i].call));
    EXPECT_EQ(calls[i].call, expected[i].call);
    EXPECT_EQ(calls[i].bytes, expected[i].bytes);
    EXPECT_EQ(calls[i].kind, expected[i].kind);
    EXPECT_EQ(calls[i].memory, expected[i].memory);
    EXPECT_EQ(calls[i].stream, expected[i].stream);
    EXPECT_EQ(calls[i].result, expected[i].result);
  }
}

TEST_F(Control, TheNthCallFailsAndTheNextWorks) {
  cudart_cpu::failCall(Call::cudaMalloc, 2, cudaErrorMemoryAllocation);
  void* first = nullptr;
  void* second = nullptr;
  EXPECT_EQ(cudaMalloc(&first, 1), cudaSuccess);
  EXPECT_EQ(cudaMalloc(&second, 1), cudaErrorMemoryAllocation);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(cudaGetLastError(), cudaErrorMemoryAllocation);
  EXPECT_EQ(cudart_cpu::liveAllocations().count, 1u);
  EXPECT_EQ(cudaMalloc(&second, 1), cudaSuccess);
  EXPECT_EQ(cudart_cpu::count(Call::cudaMalloc), 3u);
  EXPECT_EQ(cudaFree(first), cudaSuccess);
  EXPECT_EQ(cudaFree(second), cudaSuccess);
}

TEST_F(Control, FailedCallsOnPinnedMemoryAndEventsDoNothingElse) {
  const cudaError_t planned = cudaErrorLaunchFailure;
  const OwnedStream stream;
  const OwnedEvent event;
  PinnedBuffer live(2);
  void* pinned = nullptr;
  cudart_cpu::failCall(Call::cudaHostAlloc, 1, planned);
  EXPECT_EQ(cudaHostAlloc(&pinned, 1, cudaHostAllocDefault), planned);
  EXPECT_EQ(pinned, nullptr);
  cudart_cpu::failCall(Call::cudaFreeHost, 1, planned);
  EXPECT_EQ(cudaFreeHost(live.get()), planned);
  EXPECT_EQ(cudart_cpu::livePinnedAllocations().bytes, 2u);
  cudaEvent_t none = nullptr;
  cudart_cpu::failCall(Call::cudaEventCreateWithFlags, 1, planned);
  EXPECT_EQ(cudaEventCreateWithFlags(&none, cudaEventDefault), planned);
  EXPECT_EQ(none, nullptr);
  cudart_cpu::failCall(Call::cudaEventDestroy, 1, planned);
  EXPECT_EQ(cudaEventDestroy(event.get()), planned);
  EXPECT_EQ(cudart_cpu::liveEvents(), 1u);
  cudart_cpu::hold(stream.get());
  cudart_cpu::failCall(Call::cudaEventRecord, 1, planned);
  EXPECT_EQ(cudaEventRecord(event.get(), stream.get()), planned);
  EXPECT_EQ(cudart_cpu::heldWork(stream.get()), 0u);
  ASSERT_EQ(cudaEventRecord(event.get(), stream.get()), cudaSuccess);
  cudart_cpu::failCall(Call::cudaEventSynchronize, 1, planned);
  EXPECT_EQ(cudaEventSynchronize(event.get()), planned);
  cudart_cpu::failCall(Call::cudaEventQuery, 1, planned);
  EXPECT_EQ(cudaEventQuery(event.get()), planned);
  EXPECT_EQ(cudaGetLastError(), planned);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaErrorNotReady) << "the failed call did not wait";
  EXPECT_EQ(cudaGetLastError(), cudaErrorNotReady);
}

TEST_F(Control, AFailedFillOfRowsWritesNothing) {
  const Buffer buffer(4);
  cudart_cpu::failCall(Call::cudaMemset2DAsync, 1, cudaErrorLaunchFailure);
  EXPECT_EQ(cudaMemset2DAsync(buffer.get(), 2, 1, 1, 2), cudaErrorLaunchFailure);
  EXPECT_EQ(cudaGetLastError(), cudaErrorLaunchFailure);
  Bytes seen(4);
  EXPECT_EQ(cudaMemcpy(seen.data(), buffer.get(), 4, cudaMemcpyDeviceToHost), cudaSuccess);
  EXPECT_EQ(seen, Bytes(4, 0xCD));
}

TEST_F(Control, PlansStandSideBySide) {
  cudart_cpu::failCall(Call::cudaFree, 1, cudaErrorUnknown);
  cudart_cpu::failCall(Call::cudaFree, 3, cudaErrorLaunchFailure);
  cudart_cpu::failCall(Call::cudaStreamQuery, 1, cudaErrorIllegalAddress);
  EXPECT_EQ(cudaFree(nullptr), cudaErrorUnknown);
  EXPECT_EQ(cudaFree(nullptr), cudaSuccess);
  EXPECT_EQ(cudaFree(nullptr), cudaErrorLaunchFailure);
  EXPECT_EQ(cudaFree(nullptr), cudaSuccess);
  EXPECT_EQ(cudaStreamQuery(nullptr), cudaErrorIllegalAddress);
}

TEST_F(Control, AFailedCallDoesNothingElse) {
  cudart_cpu::hold(nullptr);
  int calls = 0;
  const auto countUp = [](void* data) { ++*static_cast<int*>(data); };
  ASSERT_EQ(cudaLaunchHostFunc(nullptr, countUp, &calls), cudaSuccess);
  cudart_cpu::failCall(Call::cudaDeviceSynchronize, 1, cudaErrorUnknown);
  EXPECT_EQ(cudaDeviceSynchronize(), cudaErrorUnknown);
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
  EXPECT_EQ(calls, 1);
}

TEST_F(Control, PlansCanBeDropped) {
  cudart_cpu::failCall(Call::cudaFree, 1, cudaErrorUnknown);
  cudart_cpu::clearFailures();
  EXPECT_EQ(cudaFree(nullptr), cudaSuccess);
}

TEST_F(Control, ImpossiblePlansAreRefused) {
  EXPECT_THROW(cudart_cpu::failCall(Call::cudaFree, 0, cudaErrorUnknown), std::invalid_argument);
  EXPECT_THROW(cudart_cpu::failCall(Call::cudaFree, 1, cudaSuccess), std::invalid_argument);
}

TEST_F(Control, ResetUndoesEverythingATestDid) {
  const OwnedStream stream;
  int calls = 0;
  {
    const cudart_cpu::ScopedReset scoped;
    cudart_cpu::recordCalls(true);
    cudart_cpu::hold(stream.get());
    cudart_cpu::failCall(Call::cudaFree, 1, cudaErrorUnknown);
    const auto countUp = [](void* data) { ++*static_cast<int*>(data); };
    ASSERT_EQ(cudaLaunchHostFunc(stream.get(), countUp, &calls), cudaSuccess);
    EXPECT_EQ(calls, 0);
  }
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(cudart_cpu::totalCalls(), 0u);
  EXPECT_EQ(cudaFree(nullptr), cudaSuccess);
  EXPECT_TRUE(cudart_cpu::recordedCalls().empty());
}

}  // namespace
