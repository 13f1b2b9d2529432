#include "tests/cudart_fixture.h"

namespace {

class Events : public CudartTest {
 protected:
  /// Queues a host function that adds 1 to `ran`.
  static void queue(cudaStream_t stream, int& ran) {
    const auto countUp = [](void* data) { ++*static_cast<int*>(data); };
    ASSERT_EQ(cudaLaunchHostFunc(stream, countUp, &ran), cudaSuccess);
  }
};

TEST_F(Events, AnEventThatWasNeverRecordedIsComplete) {
  const OwnedStream stream;
  const OwnedEvent event;
  int ran = 0;
  cudart_cpu::hold(stream.get());
  queue(stream.get(), ran);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaSuccess);
  EXPECT_EQ(cudaEventSynchronize(event.get()), cudaSuccess);
  EXPECT_EQ(ran, 0);
}

TEST_F(Events, AnEventOnAnIdleStreamIsCompleteAtOnce) {
  const OwnedStream stream;
  const OwnedEvent event;
  int ran = 0;
  queue(stream.get(), ran);
  EXPECT_EQ(cudaEventRecord(event.get(), stream.get()), cudaSuccess);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaSuccess);
  cudart_cpu::hold(stream.get());
  queue(stream.get(), ran);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaSuccess) << "later work is none of its";
}

TEST_F(Events, AnEventIsCompleteWhenTheWorkBeforeItIsDone) {
  const OwnedStream stream;
  const OwnedEvent event;
  int ran = 0;
  cudart_cpu::hold(stream.get());
  queue(stream.get(), ran);
  EXPECT_EQ(cudaEventRecord(event.get(), stream.get()), cudaSuccess);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaErrorNotReady);
  EXPECT_EQ(ran, 0) << "asking runs nothing";
  cudart_cpu::release(stream.get());
  EXPECT_EQ(ran, 1);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaSuccess);
}

TEST_F(Events, AHeldStreamHoldsBackARecordWithNothingBeforeIt) {
  const OwnedStream stream;
  const OwnedEvent event;
  cudart_cpu::hold(stream.get());
  EXPECT_EQ(cudaEventRecord(event.get(), stream.get()), cudaSuccess);
  EXPECT_EQ(cudart_cpu::heldWork(stream.get()), 1u);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaErrorNotReady);
  EXPECT_EQ(cudaStreamSynchronize(stream.get()), cudaSuccess);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaSuccess);
}

TEST_F(Events, RecordingAgainReplacesWhatTheEventStandsFor) {
  const OwnedStream held;
  const OwnedStream idle;
  const OwnedEvent event;
  int ran = 0;
  cudart_cpu::hold(held.get());
  queue(held.get(), ran);
  ASSERT_EQ(cudaEventRecord(event.get(), held.get()), cudaSuccess);
  ASSERT_EQ(cudaEventRecord(event.get(), idle.get()), cudaSuccess);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaSuccess);
  EXPECT_EQ(cudaEventSynchronize(event.get()), cudaSuccess);
  EXPECT_EQ(ran, 0);
  ASSERT_EQ(cudaEventRecord(event.get(), held.get()), cudaSuccess);
  queue(held.get(), ran);
  ASSERT_EQ(cudaEventRecord(event.get(), held.get()), cudaSuccess);
  EXPECT_EQ(cudaEventSynchronize(event.get()), cudaSuccess);
  EXPECT_EQ(ran, 2) << "the last record counts";
}

TEST_F(Events, SynchronizingRunsTheWorkBeforeTheEventAndNoOther) {
  const OwnedStream stream;
  const OwnedStream other;
  const OwnedEvent event;
  int before = 0;
  int after = 0;
  int elsewhere = 0;
  cudart_cpu::hold(stream.get());
  cudart_cpu::hold(other.get());
  queue(other.get(), elsewhere);
  queue(stream.get(), before);
  ASSERT_EQ(cudaEventRecord(event.get(), stream.get()), cudaSuccess);
  queue(stream.get(), after);
  EXPECT_EQ(cudaEventSynchronize(event.get()), cudaSuccess);
  EXPECT_EQ(before, 1);
  EXPECT_EQ(after, 0);
  EXPECT_EQ(elsewhere, 0);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaSuccess);
}

TEST_F(Events, AnEventOfTheDefaultStreamComesAfterOtherStreamsWork) {
  const OwnedStream stream;
  const OwnedStream apart(cudaStreamNonBlocking);
  const OwnedEvent event;
  int ran = 0;
  int ranApart = 0;
  cudart_cpu::hold(stream.get());
  cudart_cpu::hold(apart.get());
  queue(stream.get(), ran);
  queue(apart.get(), ranApart);
  ASSERT_EQ(cudaEventRecord(event.get()), cudaSuccess);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaErrorNotReady);
  EXPECT_EQ(cudaEventSynchronize(event.get()), cudaSuccess);
  EXPECT_EQ(ran, 1);
  EXPECT_EQ(ranApart, 0);
}

TEST_F(Events, DestroyingARecordedEventWaitsForNothing) {
  const OwnedStream stream;
  int ran = 0;
  cudaEvent_t event = nullptr;
  ASSERT_EQ(cudaEventCreateWithFlags(&event, cudaEventDisableTiming), cudaSuccess);
  cudart_cpu::hold(stream.get());
  queue(stream.get(), ran);
  ASSERT_EQ(cudaEventRecord(event, stream.get()), cudaSuccess);
  EXPECT_EQ(cudaEventDestroy(event), cudaSuccess);
  EXPECT_EQ(ran, 0);
  cudart_cpu::release(stream.get());
  EXPECT_EQ(ran, 1);
}

TEST_F(Events, AnEventOutlivesItsStream) {
  const OwnedEvent event;
  cudaStream_t stream = nullptr;
  ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
  cudart_cpu::hold(stream);
  ASSERT_EQ(cudaEventRecord(event.get(), stream), cudaSuccess);
  ASSERT_EQ(cudaStreamDestroy(stream), cudaSuccess);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaSuccess);
  EXPECT_EQ(cudaEventSynchronize(event.get()), cudaSuccess);
}

TEST_F(Events, ADeadEventOrStreamIsRefusedEverywhere) {
  const OwnedEvent live;
  const OwnedStream stream;
  cudaEvent_t event = nullptr;
  cudaStream_t deadStream = nullptr;
  ASSERT_EQ(cudaEventCreateWithFlags(&event, cudaEventDefault), cudaSuccess);
  ASSERT_EQ(cudaEventDestroy(event), cudaSuccess);
  ASSERT_EQ(cudaStreamCreate(&deadStream), cudaSuccess);
  ASSERT_EQ(cudaStreamDestroy(deadStream), cudaSuccess);
  const cudaError_t dead = cudaErrorInvalidResourceHandle;
  for (const cudaEvent_t refused : {event, cudaEvent_t{nullptr}}) {
    EXPECT_EQ(cudaEventDestroy(refused), dead);
    EXPECT_EQ(cudaEventRecord(refused, stream.get()), dead);
    EXPECT_EQ(cudaEventQuery(refused), dead);
    EXPECT_EQ(cudaEventSynchronize(refused), dead);
  }
  EXPECT_EQ(cudaEventRecord(live.get(), deadStream), dead);
}

TEST_F(Events, BadArgumentsAreRefused) {
  cudaEvent_t event = nullptr;
  EXPECT_EQ(cudaEventCreateWithFlags(nullptr, cudaEventDefault), cudaErrorInvalidValue);
  EXPECT_EQ(cudaEventCreateWithFlags(&event, 4), cudaErrorInvalidValue);
  EXPECT_EQ(event, nullptr);
  const OwnedEvent withBoth(cudaEventBlockingSync | cudaEventDisableTiming);
  EXPECT_EQ(cudart_cpu::liveEvents(), 1u);
}

TEST_F(Events, LiveEventsAreCounted) {
  const std::size_t before = cudart_cpu::liveEvents();
  {
    const OwnedEvent one;
    const OwnedEvent two;
    EXPECT_EQ(cudart_cpu::liveEvents(), before + 2);
  }
  EXPECT_EQ(cudart_cpu::liveEvents(), before);
}

// Not so with cudaStreamQuery: Errors.NotReadyIsAnAnswerAndNoError.
TEST_F(Events, AQueryLeavesNotReadyBehindAsTheLastError) {
  const OwnedStream stream;
  const OwnedEvent event;
  cudart_cpu::hold(stream.get());
  ASSERT_EQ(cudaEventRecord(event.get(), stream.get()), cudaSuccess);
  EXPECT_EQ(cudaEventQuery(event.get()), cudaErrorNotReady);
  EXPECT_EQ(cudaPeekAtLastError(), cudaErrorNotReady);
  cudart_cpu::release(stream.get());
  EXPECT_EQ(cudaEventQuery(event.get()), cudaSuccess);
  EXPECT_EQ(cudaGetLastError(), cudaErrorNotReady) << "success does not clear it";
  EXPECT_EQ(cudaGetLastError(), cudaSuccess);
}

}  // namespace
