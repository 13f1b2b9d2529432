#include <cstring>
#include <list>
#include <stdexcept>
#include <string>

#include "tests/cudart_fixture.h"

namespace {

class StreamTest : public CudartTest {
 protected:
  /// Queues a host function that appends `letter` to ran().
  void queue(cudaStream_t stream, char letter) {
    notes_.push_back({&ran_, letter});
    ASSERT_EQ(cudaLaunchHostFunc(stream, &append, &notes_.back()), cudaSuccess);
  }
  const std::string& ran() const { return ran_; }

 private:
  struct Note {
    std::string* text;
    char letter;
  };
  static void append(void* data) {
    const Note& note = *static_cast<Note*>(data);
    note.text->push_back(note.letter);
  }

  std::string ran_;
  std::list<Note> notes_;
};

TEST_F(StreamTest, WorkRunsAtTheCall) {
  const OwnedStream stream;
  queue(stream.get(), 'a');
  EXPECT_EQ(ran(), "a");
  EXPECT_EQ(cudaStreamQuery(stream.get()), cudaSuccess);
}

TEST_F(StreamTest, AHeldStreamRunsNothingUntilReleased) {
  const OwnedStream stream;
  cudart_cpu::hold(stream.get());
  queue(stream.get(), 'a');
  queue(stream.get(), 'b');
  EXPECT_EQ(ran(), "");
  EXPECT_EQ(cudart_cpu::heldWork(stream.get()), 2u);
  EXPECT_EQ(cudaStreamQuery(stream.get()), cudaErrorNotReady);
  EXPECT_EQ(ran(), "") << "asking runs nothing";
  cudart_cpu::release(stream.get());
  EXPECT_EQ(ran(), "ab");
  EXPECT_EQ(cudart_cpu::heldWork(stream.get()), 0u);
  queue(stream.get(), 'c');
  EXPECT_EQ(ran(), "abc");
}

TEST_F(StreamTest, EachWaitingCallRunsHeldWorkAndTheStreamStaysHeld) {
  const OwnedStream stream;
  cudart_cpu::hold(stream.get());
  queue(stream.get(), 'a');
  EXPECT_EQ(cudaStreamSynchronize(stream.get()), cudaSuccess);
  EXPECT_EQ(ran(), "a");
  queue(stream.get(), 'b');
  EXPECT_EQ(ran(), "a");
  EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
  EXPECT_EQ(ran(), "ab");
  queue(stream.get(), 'c');
  EXPECT_EQ(cudaFree(nullptr), cudaSuccess);
  EXPECT_EQ(ran(), "abc");
  queue(stream.get(), 'd');
  EXPECT_EQ(ran(), "abc");
  EXPECT_EQ(cudaMemcpy(nullptr, nullptr, 0, cudaMemcpyHostToHost), cudaSuccess);
  EXPECT_EQ(ran(), "abc") << "copying nothing waits for the default stream only";
  char to = 0;
  const char from = 7;
  EXPECT_EQ(cudaMemcpy(&to, &from, 1, cudaMemcpyHostToHost), cudaSuccess);
  EXPECT_EQ(to, 7);
  EXPECT_EQ(ran(), "abcd");
}

TEST_F(StreamTest, SynchronizingOneStreamLeavesOthersHeld) {
  const OwnedStream one;
  const OwnedStream two;
  cudart_cpu::hold(one.get());
  cudart_cpu::hold(two.get());
  queue(one.get(), '1');
  queue(two.get(), '2');
  EXPECT_EQ(cudaStreamSynchronize(two.get()), cudaSuccess);
  EXPECT_EQ(ran(), "2");
  cudart_cpu::release(one.get());
  EXPECT_EQ(ran(), "21");
}

TEST_F(StreamTest, TheDefaultStreamKeepsOrderWithBlockingStreams) {
  const OwnedStream stream;
  cudart_cpu::hold(stream.get());
  queue(stream.get(), 'a');
  queue(nullptr, 'b');
  EXPECT_EQ(ran(), "") << "the default stream comes after what is held";
  const OwnedStream other;
  queue(other.get(), 'c');
  EXPECT_EQ(ran(), "") << "and later work comes after the default stream";
  cudart_cpu::release(stream.get());
  EXPECT_EQ(ran(), "abc");
}

TEST_F(StreamTest, WaitingForTheDefaultStreamRunsWhatItsWorkComesAfter) {
  const OwnedStream stream;
  cudart_cpu::hold(stream.get());
  queue(stream.get(), 'a');
  queue(nullptr, 'b');
  queue(stream.get(), 'c');
  EXPECT_EQ(cudaStreamSynchronize(nullptr), cudaSuccess);
  EXPECT_EQ(ran(), "ab");
  EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
  EXPECT_EQ(ran(), "abc");
}

TEST_F(StreamTest, ANonBlockingStreamKeepsNoOrderWithTheDefaultStream) {
  const OwnedStream stream(cudaStreamNonBlocking);
  cudart_cpu::hold(stream.get());
  queue(stream.get(), 'a');
  queue(nullptr, 'b');
  EXPECT_EQ(ran(), "b");
  char to = 0;
  const char from = 7;
  EXPECT_EQ(cudaMemcpy(&to, &from, 1, cudaMemcpyHostToHost), cudaSuccess);
  EXPECT_EQ(ran(), "b");
  EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
  EXPECT_EQ(ran(), "ba");
}

TEST_F(StreamTest, TheDefaultStreamCanBeHeldToo) {
  cudart_cpu::hold(nullptr);
  queue(nullptr, 'a');
  EXPECT_EQ(ran(), "");
  EXPECT_EQ(cudart_cpu::heldWork(nullptr), 1u);
  cudart_cpu::release(nullptr);
  EXPECT_EQ(ran(), "a");
}

TEST_F(StreamTest, AHeldUploadTakesTheHostBytesAtTheCall) {
  const OwnedStream stream;
  const Buffer buffer(6);
  ASSERT_EQ(cudaMemsetAsync(buffer.get(), 0, 6, stream.get()), cudaSuccess);
  Bytes host = {1, 2, 3, 4};
  Bytes seen(6, 9);
  cudart_cpu::hold(stream.get());
  ASSERT_EQ(cudaMemcpyAsync(buffer.get(), host.data(), 2, cudaMemcpyHostToDevice, stream.get()), cudaSuccess);
  ASSERT_EQ(cudaMemcpy2DAsync(buffer.get() + 2, 2, host.data() + 1, 2, 1, 2, cudaMemcpyDefault, stream.get()),
            cudaSuccess);
  ASSERT_EQ(cudaMemcpyAsync(seen.data(), buffer.get(), 6, cudaMemcpyDeviceToHost, stream.get()), cudaSuccess);
  host.assign(4, 0xEE);
  EXPECT_EQ(seen, Bytes(6, 9));
  cudart_cpu::release(stream.get());
  EXPECT_EQ(seen, (Bytes{1, 2, 2, 0, 4, 0}));
}

TEST_F(StreamTest, AHeldUploadFromPinnedMemoryTakesTheBytesInItsTurn) {
  const OwnedStream stream;
  const Buffer buffer(4);
  const PinnedBuffer pinned(4);
  Bytes seen(4);
  std::memset(pinned.get(), 1, 4);
  cudart_cpu::hold(stream.get());
  ASSERT_EQ(cudaMemcpyAsync(buffer.get(), pinned.get(), 2, cudaMemcpyHostToDevice, stream.get()),
            cudaSuccess);
  ASSERT_EQ(
      cudaMemcpy2DAsync(buffer.get() + 2, 1, pinned.get() + 1, 2, 1, 2, cudaMemcpyDefault, stream.get()),
      cudaSuccess);
  for (int i = 0; i < 4; ++i) pinned.get()[i] = static_cast<unsigned char>(5 + i);
  cudart_cpu::release(stream.get());
  ASSERT_EQ(cudaMemcpy(seen.data(), buffer.get(), 4, cudaMemcpyDeviceToHost), cudaSuccess);
  EXPECT_EQ(seen, (Bytes{5, 6, 6, 8}));
}

TEST_F(StreamTest, FreeingPinnedMemoryWaitsForWorkOnIt) {
  const OwnedStream stream(cudaStreamNonBlocking);
  const Buffer buffer(3);
  void* pinned = nullptr;
  ASSERT_EQ(cudaHostAlloc(&pinned, 3, cudaHostAllocDefault), cudaSuccess);
  std::memset(pinned, 7, 3);
  cudart_cpu::hold(stream.get());
  ASSERT_EQ(cudaMemcpyAsync(buffer.get(), pinned, 3, cudaMemcpyHostToDevice, stream.get()), cudaSuccess);
  ASSERT_EQ(cudaFreeHost(pinned), cudaSuccess);
  EXPECT_EQ(cudart_cpu::heldWork(stream.get()), 0u);
  Bytes seen(3);
  ASSERT_EQ(cudaMemcpy(seen.data(), buffer.get(), 3, cudaMemcpyDeviceToHost), cudaSuccess);
  EXPECT_EQ(seen, Bytes(3, 7));
}

TEST_F(StreamTest, AHeldDeviceCopyTakesTheBytesInItsTurn) {
  const OwnedStream stream;
  const Buffer from(2);
  const Buffer to(2);
  cudart_cpu::hold(stream.get());
  ASSERT_EQ(cudaMemsetAsync(from.get(), 1, 2, stream.get()), cudaSuccess);
  ASSERT_EQ(cudaMemcpyAsync(to.get(), from.get(), 2, cudaMemcpyDeviceToDevice, stream.get()), cudaSuccess);
  ASSERT_EQ(cudaMemsetAsync(from.get(), 2, 2, stream.get()), cudaSuccess);
  Bytes seen(2);
  ASSERT_EQ(cudaMemcpy(seen.data(), to.get(), 2, cudaMemcpyDeviceToHost), cudaSuccess);
  EXPECT_EQ(seen, (Bytes{1, 1}));
}

TEST_F(StreamTest, AHeldFillOfRowsWritesInItsTurn) {
  const OwnedStream stream(cudaStreamNonBlocking);
  const Buffer buffer(4);
  Bytes before(4);
  Bytes after(4);
  cudart_cpu::hold(stream.get());
  ASSERT_EQ(cudaMemsetAsync(buffer.get(), 1, 4, stream.get()), cudaSuccess);
  ASSERT_EQ(cudaMemset2DAsync(buffer.get(), 2, 2, 1, 2, stream.get()), cudaSuccess);
  ASSERT_EQ(cudaMemcpy(before.data(), buffer.get(), 4, cudaMemcpyDeviceToHost), cudaSuccess);
  cudart_cpu::release(stream.get());
  ASSERT_EQ(cudaMemcpy(after.data(), buffer.get(), 4, cudaMemcpyDeviceToHost), cudaSuccess);
  EXPECT_EQ(before, Bytes(4, 0xCD));
  EXPECT_EQ(after, (Bytes{2, 1, 2, 1}));
}

TEST_F(StreamTest, FreeWaitsForWorkOnTheMemory) {
  const OwnedStream stream(cudaStreamNonBlocking);
  unsigned char* memory = nullptr;
  ASSERT_EQ(cudaMalloc(&memory, 3), cudaSuccess);
  ASSERT_EQ(cudaMemsetAsync(memory, 5, 3, stream.get()), cudaSuccess);
  Bytes seen(3);
  cudart_cpu::hold(stream.get());
  ASSERT_EQ(cudaMemcpyAsync(seen.data(), memory, 3, cudaMemcpyDeviceToHost, stream.get()), cudaSuccess);
  ASSERT_EQ(cudaFree(memory), cudaSuccess);
  EXPECT_EQ(seen, Bytes(3, 5));
}

TEST_F(StreamTest, DestroyingAStreamRunsWhatItHolds) {
  cudaStream_t stream = nullptr;
  ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
  cudart_cpu::hold(stream);
  queue(stream, 'a');
  ASSERT_EQ(cudaStreamDestroy(stream), cudaSuccess);
  EXPECT_EQ(ran(), "a");
}

TEST_F(StreamTest, ADeadStreamIsRefusedEverywhere) {
  const Buffer buffer(1);
  char host = 0;
  cudaStream_t stream = nullptr;
  ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
  ASSERT_EQ(cudaStreamDestroy(stream), cudaSuccess);
  const cudaError_t dead = cudaErrorInvalidResourceHandle;
  EXPECT_EQ(cudaStreamDestroy(stream), dead);
  EXPECT_EQ(cudaStreamSynchronize(stream), dead);
  EXPECT_EQ(cudaStreamQuery(stream), dead);
  EXPECT_EQ(cudaLaunchHostFunc(
                stream, [](void*) {}, nullptr),
            dead);
  EXPECT_EQ(cudaMemsetAsync(buffer.get(), 0, 1, stream), dead);
  EXPECT_EQ(cudaMemset2DAsync(buffer.get(), 1, 0, 1, 1, stream), dead);
  EXPECT_EQ(cudaMemcpyAsync(buffer.get(), &host, 1, cudaMemcpyHostToDevice, stream), dead);
  EXPECT_EQ(cudaMemcpy2DAsync(buffer.get(), 1, &host, 1, 1, 1, cudaMemcpyHostToDevice, stream), dead);
  EXPECT_EQ(cudaStreamDestroy(nullptr), dead);
  EXPECT_THROW(cudart_cpu::hold(stream), std::invalid_argument);
  EXPECT_THROW(cudart_cpu::release(stream), std::invalid_argument);
  EXPECT_THROW(cudart_cpu::heldWork(stream), std::invalid_argument);
}

TEST_F(StreamTest, BadArgumentsAreRefused) {
  EXPECT_EQ(cudaStreamCreate(nullptr), cudaErrorInvalidValue);
  cudaStream_t stream = nullptr;
  EXPECT_EQ(cudaStreamCreateWithFlags(&stream, 2), cudaErrorInvalidValue);
  EXPECT_EQ(stream, nullptr);
  EXPECT_EQ(cudaLaunchHostFunc(nullptr, nullptr, nullptr), cudaErrorInvalidValue);
}

TEST_F(StreamTest, AHostFunctionMayMakeNoCalls) {
  struct Seen {
    cudaEvent_t event = nullptr;
    cudaError_t allocating = cudaSuccess;
    cudaError_t waiting = cudaSuccess;
    cudaError_t pinning = cudaSuccess;
    cudaError_t unpinning = cudaSuccess;
    cudaError_t creating = cudaSuccess;
    cudaError_t recording = cudaSuccess;
    cudaError_t asking = cudaSuccess;
    cudaError_t waitingForTheEvent = cudaSuccess;
    cudaError_t destroying = cudaSuccess;
  } seen;
  const OwnedEvent event;
  seen.event = event.get();
  const auto misbehave = [](void* data) {
    auto& errors = *static_cast<Seen*>(data);
    void* memory = nullptr;
    errors.allocating = cudaMalloc(&memory, 1);
    errors.waiting = cudaStreamSynchronize(nullptr);
    errors.pinning = cudaHostAlloc(&memory, 1, cudaHostAllocDefault);
    errors.unpinning = cudaFreeHost(nullptr);
    cudaEvent_t created = nullptr;
    errors.creating = cudaEventCreateWithFlags(&created, cudaEventDefault);
    errors.recording = cudaEventRecord(errors.event);
    errors.asking = cudaEventQuery(errors.event);
    errors.waitingForTheEvent = cudaEventSynchronize(errors.event);
    errors.destroying = cudaEventDestroy(errors.event);
  };
  ASSERT_EQ(cudaLaunchHostFunc(nullptr, misbehave, &seen), cudaSuccess);
  EXPECT_EQ(seen.allocating, cudaErrorNotPermitted);
  EXPECT_EQ(seen.waiting, cudaErrorNotPermitted);
  EXPECT_EQ(seen.pinning, cudaErrorNotPermitted);
  EXPECT_EQ(seen.unpinning, cudaErrorNotPermitted);
  EXPECT_EQ(seen.creating, cudaErrorNotPermitted);
  EXPECT_EQ(seen.recording, cudaErrorNotPermitted);
  EXPECT_EQ(seen.asking, cudaErrorNotPermitted);
  EXPECT_EQ(seen.waitingForTheEvent, cudaErrorNotPermitted);
  EXPECT_EQ(seen.destroying, cudaErrorNotPermitted);
  EXPECT_EQ(cudaStreamSynchronize(nullptr), cudaSuccess) << "allowed again afterwards";
}

}  // namespace
