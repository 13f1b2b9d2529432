// The calls of a library that uploads a frame in one piece: out of which memory it does, what it keeps of
// that, and what the host finds of its questions.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cudart_cpu/control.h"
#include "test_support/DeviceCallsTest.h"

namespace {

using cudart_cpu::Call;
using plugin_test::bytesNow;
using plugin_test::coveredScene;
using plugin_test::Frame;
using plugin_test::HeldOfDevice;
using plugin_test::sameFrame;
using scene::Scene;

constexpr unsigned kPinnedBuffers = 4;

class OnePassCalls : public plugin_test::DeviceCallsTest {
 protected:
  void SetUp() override {
    if (facts_.draws_one_by_one) GTEST_SKIP() << "uploads each detection";
    DeviceCallsTest::SetUp();
  }

  // A call that is to fail: the `nth` of its kind.
  struct Fault {
    Call call;
    unsigned nth;
  };

  // Queues so many frames behind the host's stream, which is held, each with a mask of its own and all of the
  // same size. The faults are those of rendering them.
  void queue(unsigned frames, const std::vector<Fault>& faults = {}) { queue(host(), frames, faults); }
  void queue(plugin_test::Host& by, unsigned frames, const std::vector<Fault>& faults) {
    cudart_cpu::hold(by.stream());
    const std::size_t first = queued_.size();
    for (unsigned i = 0; i < frames; ++i) {
      Scene scene = coveredScene(24, 10);
      std::vector<bool> inside(240, true);
      inside[7 * i] = false;
      scene.inputs[0].detections[0].mask = scene::maskText(24, 10, inside);
      queued_.push_back({scene, model::expectedFrame(scene), std::make_unique<Frame>(scene, by.stream())});
      queued_.back().frame->context().picture.ensureWritablePicShared();
    }
    cudart_cpu::resetCounters();
    for (const Fault& fault : faults) cudart_cpu::failCall(fault.call, fault.nth, cudaErrorUnknown);
    for (std::size_t i = first; i < queued_.size(); ++i) by.render(*queued_[i].frame);
    cudart_cpu::clearFailures();
  }

  void expectNoneIsDrawn() {
    for (const Queued& one : queued_)
      EXPECT_TRUE(sameFrame(one.scene, one.scene.frame, bytesNow(*one.frame)));
  }

  void expectAllAreDrawn() {
    for (const Queued& one : queued_) EXPECT_TRUE(sameFrame(one.scene, one.whole, bytesNow(*one.frame)));
  }

  // How many frames are not drawn at all; the others must be whole. Forgets them.
  unsigned takeMissing() {
    unsigned missing = 0;
    for (const Queued& one : queued_) {
      if (bytesNow(*one.frame) == one.scene.frame) {
        ++missing;
      } else {
        EXPECT_TRUE(sameFrame(one.scene, one.whole, bytesNow(*one.frame)));
      }
    }
    queued_.clear();
    return missing;
  }

  // The bytes of the calls of this kind.
  static std::vector<std::size_t> bytesOf(Call kind, const Calls& calls) {
    std::vector<std::size_t> bytes;
    for (const cudart_cpu::RecordedCall& call : calls) {
      if (call.call == kind) bytes.push_back(call.bytes);
    }
    return bytes;
  }

 private:
  struct Queued {
    Scene scene;
    std::vector<uint8_t> whole;
    std::unique_ptr<Frame> frame;
  };

  std::vector<Queued> queued_;
};

TEST_F(OnePassCalls, FramesPastTheFourthGoThroughPageableMemoryAndNoneWaits) {
  queue(kPinnedBuffers + 3);
  EXPECT_EQ(cudart_cpu::count(Call::cudaHostAlloc), kPinnedBuffers);
  EXPECT_EQ(cudart_cpu::count(Call::cudaEventCreateWithFlags), kPinnedBuffers + 1);
  EXPECT_EQ(cudart_cpu::count(Call::cudaMalloc), 1U);
  EXPECT_EQ(cudart_cpu::count(Call::cudaMemcpyAsync), kPinnedBuffers + 3);
  // 0 + 1 + 2 + 3 until there are four, then four each.
  EXPECT_EQ(cudart_cpu::count(Call::cudaEventQuery), 6U + 3 * kPinnedBuffers);
  EXPECT_EQ(cudart_cpu::waitingCalls(), 0U);
  EXPECT_EQ(cudart_cpu::count(Call::cudaFree) + cudart_cpu::count(Call::cudaFreeHost), 0U);
  expectNoneIsDrawn();
  cudart_cpu::release(host().stream());
  expectAllAreDrawn();
}

TEST_F(OnePassCalls, BuffersAreUsedAgainOnceTheStreamHasPassedThem) {
  queue(kPinnedBuffers + 1);
  cudart_cpu::release(host().stream());
  queue(kPinnedBuffers + 1);
  for (const Call call : {Call::cudaHostAlloc, Call::cudaMalloc, Call::cudaEventCreateWithFlags}) {
    EXPECT_EQ(cudart_cpu::count(call), 0U) << cudart_cpu::callName(call);
  }
  cudart_cpu::release(host().stream());
  expectAllAreDrawn();
}

TEST_F(OnePassCalls, AQuestionWhetherTheDeviceIsDoneLeavesNoErrorBehind) {
  queue(kPinnedBuffers + 1);
  EXPECT_GT(cudart_cpu::count(Call::cudaEventQuery), 0U);
  EXPECT_EQ(cudaPeekAtLastError(), cudaSuccess);
}

TEST_F(OnePassCalls, AnEarlierErrorOfTheHostsStays) {
  for (const cudaError_t error : {cudaErrorInvalidValue, cudaErrorNotReady}) {
    SCOPED_TRACE(cudaGetErrorName(error));
    cudart_cpu::failCall(Call::cudaEventQuery, 1, error);
    cudaEventQuery(nullptr);
    ASSERT_EQ(cudaPeekAtLastError(), error);
    queue(kPinnedBuffers + 1);
    EXPECT_EQ(cudaGetLastError(), error);
    EXPECT_EQ(cudart_cpu::waitingCalls(), 0U);
    cudart_cpu::release(host().stream());
    expectAllAreDrawn();
  }
}

// A failed question is no answer, so the buffer counts as in use and another one serves.
TEST_F(OnePassCalls, AFailedQuestionCostsNoFrame) {
  callsOf(coveredScene(8, 6));
  cudart_cpu::failCall(Call::cudaEventQuery, 1, cudaErrorUnknown);
  EXPECT_EQ(bytesOf(Call::cudaHostAlloc, callsOf(coveredScene(8, 6))).size(), 1U);
}

// Frames that grow by a pixel a side need more memory each, and get it by few allocations.
TEST_F(OnePassCalls, MemoryDoublesWhenItHasToGrowAndIsFreedAtTheEndAlone) {
  std::size_t device = 0;
  std::size_t pinned = 0;
  unsigned grown = 0;
  for (int side = 8; side <= 96; ++side) {
    const Calls calls = callsOf(coveredScene(side, side));
    for (const std::size_t bytes : bytesOf(Call::cudaMalloc, calls)) {
      EXPECT_GE(bytes, 2 * device);
      device = bytes;
      ++grown;
    }
    for (const std::size_t bytes : bytesOf(Call::cudaHostAlloc, calls)) {
      EXPECT_GE(bytes, 2 * pinned);
      pinned = bytes;
    }
    EXPECT_EQ(bytesOf(Call::cudaFree, calls).size() + bytesOf(Call::cudaFreeHost, calls).size(), 0U);
  }
  EXPECT_GE(grown, 2U);
  EXPECT_LE(grown, 5U) << "as often as the bytes double";
  // Smaller frames, and the same again, have room.
  for (const int side : {96, 8, 50}) {
    EXPECT_EQ(namesOf(callsOf(coveredScene(side, side))), facts_.next_frame);
  }
}

TEST_F(OnePassCalls, WhatWasOutgrownIsFreedWithTheInstance) {
  const HeldOfDevice before;
  for (const int side : {8, 40, 120}) host().drawn(coveredScene(side, side));
  EXPECT_EQ(HeldOfDevice(), (HeldOfDevice{before.device + 3, before.pinned + 3, before.events + 1}));
  host().plugin().destroyInstance();
  EXPECT_EQ(HeldOfDevice(), before);
}

// An upload that nothing tells the end of may still read its memory, so a new buffer serves the next frame.
TEST_F(OnePassCalls, AFrameWhoseEndNothingTellsIsDrawnAndWaitedFor) {
  const HeldOfDevice before;
  queue(4, {{Call::cudaEventRecord, 2}, {Call::cudaEventRecord, 3}});
  expectNoneIsDrawn();
  EXPECT_EQ(cudart_cpu::waitingCalls(), 0U);
  cudart_cpu::recordCalls(true);
  host().plugin().destroyInstance();
  EXPECT_EQ(namesOf(cudart_cpu::recordedCalls()),
            (Names{"cudaDeviceSynchronize", "cudaEventSynchronize", "cudaEventDestroy",
                   "cudaEventSynchronize", "cudaEventDestroy", "cudaFreeHost", "cudaFree"}));
  expectAllAreDrawn();
  EXPECT_EQ(cudart_cpu::heldWork(host().stream()), 0U);
  EXPECT_EQ(HeldOfDevice().pinned, before.pinned);
  EXPECT_EQ(HeldOfDevice().events, before.events);
}

// A buffer whose frame's end nothing tells is never used again, and no other takes its place.
TEST_F(OnePassCalls, BuffersThatAreLostAreFourAtMostAndPageableMemoryServes) {
  const HeldOfDevice before;
  for (unsigned i = 0; i < 3 * kPinnedBuffers; ++i) {
    queue(1, {{Call::cudaEventRecord, 1}});
    cudart_cpu::release(host().stream());
    EXPECT_EQ(takeMissing(), 0U);
  }
  EXPECT_EQ(HeldOfDevice().pinned, before.pinned + kPinnedBuffers);
}

// The frames have buffers of their own up to the fourth, so all the calls are there that a frame may make.
TEST_F(OnePassCalls, ACallThatFailsCostsOneOfTheFramesBehindAHeldStream) {
  constexpr unsigned kFrames = kPinnedBuffers + 2;
  cudart_cpu::recordCalls(true);
  queue(kFrames);
  cudart_cpu::recordCalls(false);
  const Calls calls = cudart_cpu::recordedCalls();
  cudart_cpu::release(host().stream());
  EXPECT_EQ(takeMissing(), 0U);
  std::map<Call, unsigned> seen;
  for (const cudart_cpu::RecordedCall& call : calls) {
    const unsigned nth = ++seen[call.call];
    SCOPED_TRACE(std::string(cudart_cpu::callName(call.call)) + " " + std::to_string(nth));
    const HeldOfDevice before;
    cudaGetLastError();
    {
      plugin_test::Host other;
      queue(other, kFrames, {{call.call, nth}});
      cudart_cpu::release(other.stream());
      EXPECT_LE(takeMissing(), 1U);
      queue(other, kFrames, {});
      cudart_cpu::release(other.stream());
      EXPECT_EQ(takeMissing(), 0U);
    }
    EXPECT_EQ(HeldOfDevice(), before);
  }
  EXPECT_EQ(seen.size(), 9U) << "the kinds of calls";
}

TEST_F(OnePassCalls, ManyMaskSizesInTurnAreDrawnFromFewMaps) {
  Scene scene = coveredScene(40, 30);
  scene.inputs[0].detections.clear();
  for (int side = 1; side <= 40; ++side) {
    scene::Detection detection = scene::coverAll(40, 30, side);
    detection.mask = scene::chessMask(side, 2 * side);
    scene.inputs[0].detections.push_back(detection);
  }
  for (int times = 0; times < 3; ++times) callsOf(scene);
}

}  // namespace
