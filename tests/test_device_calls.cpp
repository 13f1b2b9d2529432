// What the plug-in asks of the device and when, by the calls that reach it; and what becomes of a frame when
// one of them fails or its stream stands still.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cudart_cpu/control.h"
#include "test_support/Camera.h"
#include "test_support/DeviceCallsTest.h"
#include "test_support/frame_check.h"
#include "test_support/model/scene_frame.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"

namespace {

using cudart_cpu::Call;
using plugin_test::bytesNow;
using plugin_test::Frame;
using plugin_test::HeldOfDevice;
using plugin_test::sameFrame;
using scene::Scene;

Scene covered(int width, int height, int detections = 1) {
  return plugin_test::coveredScene(width, height, detections);
}

// As it would stand with only the first `count` detections.
std::vector<uint8_t> expectedAfter(Scene scene, std::size_t count) {
  scene.inputs[0].detections.resize(count);
  return model::expectedFrame(scene);
}

class DeviceCalls : public plugin_test::DeviceCallsTest {
 protected:
  // The allocations and releases of device memory in one pass, with their sizes.
  Names memoryCallsOf(const Scene& scene) {
    Names names;
    for (const cudart_cpu::RecordedCall& call : callsOf(scene)) {
      if (call.call != Call::cudaMalloc && call.call != Call::cudaFree) continue;
      names.push_back(std::string(cudart_cpu::callName(call.call)) + " " + std::to_string(call.bytes));
    }
    return names;
  }
};

TEST_F(DeviceCalls, InstanceThatNeverRendersMakesNone) {
  plugin_test::PluginLibrary library;
  cudart_cpu::resetCounters();
  {
    const auto instance = library.create();
    RenderInit init;
    init.backend = &host().backend();
    instance->init(init);
    instance->enableDebug(true);
    instance->setConfig("{\"alpha\": 1}");
    instance->getUuid();
    instance->getConfigList();
    instance->input_requirements();
  }
  EXPECT_EQ(cudart_cpu::totalCalls(), 0U);
}

TEST_F(DeviceCalls, LoadingAndUnloadingMakesNone) {
  cudart_cpu::resetCounters();
  { plugin_test::LoadedPlugin plugin; }
  EXPECT_EQ(cudart_cpu::totalCalls(), 0U);
}

TEST_F(DeviceCalls, FramesWithoutItemsMakeNone) {
  Scene scene = covered(4, 4);
  scene.inputs[0].detections[0].mask = "SEG1|4|4|";
  for (const Scene& quiet : {scene, scene::oneProducer(4, 4, {})}) {
    Frame frame(quiet, host().stream());
    cudart_cpu::resetCounters();
    host().render(frame);
    EXPECT_EQ(cudart_cpu::totalCalls(), 0U);
  }
}

TEST_F(DeviceCalls, TwoItemsAreUploadedToOneBufferAndLaunched) {
  // How many pieces of work a launch is made of is the launcher's own business.
  const Calls calls = callsOf(covered(6, 4, 2));
  EXPECT_EQ(namesOf(calls), facts_.first_frame);
  const auto memory = std::find_if(calls.begin(), calls.end(), [](const cudart_cpu::RecordedCall& call) {
    return call.call == Call::cudaMalloc;
  });
  ASSERT_NE(memory, calls.end());
  unsigned uploads = 0;
  for (const cudart_cpu::RecordedCall& call : calls) {
    EXPECT_EQ(call.result, cudaSuccess);
    if (call.call == Call::cudaLaunchHostFunc || call.call == Call::cudaEventRecord) {
      EXPECT_EQ(call.stream, host().stream());
    }
    if (call.call != Call::cudaMemcpyAsync) continue;
    ++uploads;
    EXPECT_EQ(call.stream, host().stream());
    EXPECT_EQ(call.kind, cudaMemcpyHostToDevice);
    EXPECT_EQ(call.memory, memory->memory);
    EXPECT_LE(call.bytes, memory->bytes);
    if (facts_.keeps_frame_masks) {
      EXPECT_EQ(call.bytes, 24U);
    }
  }
  EXPECT_EQ(uploads, facts_.uploads(2));
  if (facts_.keeps_frame_masks) {
    EXPECT_EQ(memory->bytes, 24U);
  }
  EXPECT_EQ(namesOf(callsOf(covered(6, 4, 2))), facts_.next_frame);
}

TEST_F(DeviceCalls, ItemsAllOutsideTheFrameMapThePicture) {
  Scene scene = covered(6, 4, 2);
  scene.inputs[0].detections[0].x = 6;
  scene.inputs[0].detections[1].h = 0;
  const auto frame = readyFrame(scene);
  cudart_cpu::recordCalls(true);
  host().render(*frame);
  EXPECT_TRUE(frame->context().guard_active);
  EXPECT_EQ(namesOf(cudart_cpu::recordedCalls()), facts_.out_of_sight);
  EXPECT_TRUE(sameFrame(scene, scene.frame, frame->pixels()));
}

TEST_F(DeviceCalls, ItemsOutsideTheFrameAreNotUploaded) {
  Scene scene = covered(6, 4, 3);
  scene.inputs[0].detections[0].x = 6;
  scene.inputs[0].detections[2].h = 0;
  callsOf(scene);
  EXPECT_EQ(cudart_cpu::count(Call::cudaMemcpyAsync), 1U);
}

TEST_F(DeviceCalls, BufferIsKeptFromFrameToFrameAndOnlyGrows) {
  if (!facts_.keeps_frame_masks) GTEST_SKIP() << "other sizes: OnePassCalls.MemoryDoubles...";
  EXPECT_EQ(memoryCallsOf(covered(8, 6)), Names{"cudaMalloc 48"});
  EXPECT_EQ(memoryCallsOf(covered(8, 6)), Names{});
  EXPECT_EQ(memoryCallsOf(covered(3, 5)), Names{});
  EXPECT_EQ(memoryCallsOf(covered(48, 1)), Names{});
  EXPECT_EQ(memoryCallsOf(covered(7, 7)), (Names{"cudaFree 48", "cudaMalloc 49"}));
  EXPECT_EQ(memoryCallsOf(covered(8, 6)), Names{});
  EXPECT_EQ(memoryCallsOf(covered(25, 2)), (Names{"cudaFree 49", "cudaMalloc 50"}));
}

TEST_F(DeviceCalls, DestroyingTheInstanceFreesTheBuffer) {
  const HeldOfDevice before;
  { host().drawn(covered(8, 6)); }
  EXPECT_EQ(cudart_cpu::liveAllocations().count, before.device + 1);
  cudart_cpu::resetCounters();
  cudart_cpu::recordCalls(true);
  host().plugin().destroyInstance();
  const Calls calls = cudart_cpu::recordedCalls();
  EXPECT_EQ(HeldOfDevice(), before);
  EXPECT_EQ(namesOf(calls), facts_.destruction);
  EXPECT_EQ(calls.size(), facts_.destruction.size());
  if (facts_.keeps_frame_masks) {
    EXPECT_EQ(calls.back().bytes, 48U);
  }
}

// The library may be unloaded next, and with it the code of what is queued.
TEST_F(DeviceCalls, DestroyingTheInstanceWaitsForItsFrames) {
  const Scene scene = covered(7, 5, 3);
  const auto first = readyFrame(scene);
  const auto second = readyFrame(scene);
  cudart_cpu::hold(host().stream());
  host().render(*first);
  host().render(*second);
  host().plugin().destroyInstance();
  EXPECT_EQ(cudart_cpu::heldWork(host().stream()), 0U);
  for (const auto& frame : {first.get(), second.get()}) {
    EXPECT_TRUE(sameFrame(scene, model::expectedFrame(scene), bytesNow(*frame)));
  }
}

TEST_F(DeviceCalls, FailureToFreeAtTheEndIsSwallowed) {
  host().drawn(covered(8, 6));
  for (const Call call :
       {Call::cudaFree, Call::cudaFreeHost, Call::cudaEventSynchronize, Call::cudaEventDestroy}) {
    cudart_cpu::failCall(call, 1, cudaErrorIllegalAddress);
  }
  EXPECT_NO_THROW(host().plugin().destroyInstance());
}

TEST_F(DeviceCalls, NoneOfThemWaits) {
  const auto first = readyFrame(covered(6, 4, 3));
  const auto second = readyFrame(covered(6, 4, 3));
  cudart_cpu::resetCounters();
  host().render(*first);
  host().render(*second);
  EXPECT_EQ(cudart_cpu::waitingCalls(), 0U);
  EXPECT_EQ(cudart_cpu::count(Call::cudaFree), 0U);
  EXPECT_EQ(cudart_cpu::count(Call::cudaFreeHost), 0U);
  EXPECT_EQ(cudart_cpu::count(Call::cudaMemcpyAsync), 2 * facts_.uploads(3));
}

TEST_F(DeviceCalls, FrameStandsUnchangedUntilItsStreamGoesOn) {
  const Scene scene = covered(7, 5, 3);
  const auto frame = readyFrame(scene);
  cudart_cpu::hold(host().stream());
  host().render(*frame);
  EXPECT_GT(cudart_cpu::heldWork(host().stream()), 0U);
  EXPECT_TRUE(sameFrame(scene, scene.frame, bytesNow(*frame)));
  cudart_cpu::release(host().stream());
  EXPECT_TRUE(sameFrame(scene, model::expectedFrame(scene), bytesNow(*frame)));
}

TEST_F(DeviceCalls, FramesQueuedBehindEachOtherAreAllDrawnRight) {
  // The second frame's masks go through the device memory that the first frame's work has not read yet.
  const Scene first = covered(7, 5, 2);
  Scene second = covered(7, 5, 2);
  second.inputs[0].detections[0].mask = scene::chessMask(7, 5);
  const auto first_frame = readyFrame(first);
  const auto second_frame = readyFrame(second);
  cudart_cpu::hold(host().stream());
  host().render(*first_frame);
  host().render(*second_frame);
  EXPECT_TRUE(sameFrame(first, first.frame, bytesNow(*first_frame)));
  cudart_cpu::release(host().stream());
  EXPECT_TRUE(sameFrame(first, model::expectedFrame(first), bytesNow(*first_frame)));
  EXPECT_TRUE(sameFrame(second, model::expectedFrame(second), bytesNow(*second_frame)));
}

TEST_F(DeviceCalls, FailedAllocationDrawsNothingAndTheNextFrameTriesAgain) {
  const Scene scene = covered(6, 4, 2);
  const auto frame = readyFrame(scene);
  cudart_cpu::failCall(Call::cudaMalloc, 1, cudaErrorMemoryAllocation);
  cudart_cpu::resetCounters();
  host().render(*frame);
  EXPECT_EQ(cudart_cpu::count(Call::cudaMalloc), 1U);
  EXPECT_EQ(cudart_cpu::count(Call::cudaMemcpyAsync), 0U);
  EXPECT_TRUE(sameFrame(scene, scene.frame, frame->pixels()));
  EXPECT_TRUE(frame->context().guard_active);
  const Names again = memoryCallsOf(scene);
  EXPECT_EQ(again.size(), 1U);
  if (facts_.keeps_frame_masks) {
    EXPECT_EQ(again, Names{"cudaMalloc 24"});
  }
}

TEST_F(DeviceCalls, FailedEnlargementGivesTheOldBufferUpOrKeepsIt) {
  callsOf(covered(4, 4));
  const Scene larger = covered(6, 4);
  const auto frame = readyFrame(larger);
  cudart_cpu::failCall(Call::cudaMalloc, 1, cudaErrorMemoryAllocation);
  cudart_cpu::resetCounters();
  host().render(*frame);
  EXPECT_EQ(cudart_cpu::count(Call::cudaMalloc), 1U);
  EXPECT_EQ(cudart_cpu::count(Call::cudaFree), facts_.frees_outgrown_memory ? 1U : 0U);
  EXPECT_TRUE(sameFrame(larger, larger.frame, frame->pixels()));
  EXPECT_EQ(memoryCallsOf(covered(4, 4)), facts_.frees_outgrown_memory ? Names{"cudaMalloc 16"} : Names{});
}

TEST_F(DeviceCalls, FailureToFreeTheOldBufferCostsNoFrame) {
  if (!facts_.frees_outgrown_memory) GTEST_SKIP() << "nothing is freed before the instance goes";
  callsOf(covered(4, 4));
  const Scene larger = covered(6, 4);
  const auto frame = readyFrame(larger);
  cudart_cpu::failCall(Call::cudaFree, 1, cudaErrorUnknown);
  host().render(*frame);
  EXPECT_TRUE(sameFrame(larger, model::expectedFrame(larger), frame->pixels()));
  EXPECT_EQ(memoryCallsOf(larger), Names{});
}

TEST_F(DeviceCalls, FailedUploadKeepsEarlierItemsAndTheNextFrameIsWhole) {
  const Scene scene = covered(6, 4, 4);
  for (unsigned nth = 1; nth <= facts_.uploads(4); ++nth) {
    const auto frame = readyFrame(scene);
    cudart_cpu::failCall(Call::cudaMemcpyAsync, nth, cudaErrorInvalidValue);
    cudart_cpu::resetCounters();
    host().render(*frame);
    EXPECT_EQ(cudart_cpu::count(Call::cudaMemcpyAsync), nth) << "uploads went on after the failed one";
    EXPECT_EQ(cudart_cpu::count(Call::cudaLaunchHostFunc), facts_.launches(nth - 1));
    EXPECT_TRUE(sameFrame(scene, expectedAfter(scene, nth - 1), frame->pixels()));
    EXPECT_TRUE(frame->context().guard_active);
    EXPECT_EQ(memoryCallsOf(scene), Names{});
  }
}

TEST_F(DeviceCalls, FailedLaunchesAreNotExamined) {
  const Scene scene = covered(6, 4, 2);
  const auto frame = readyFrame(scene);
  cudart_cpu::failCall(Call::cudaLaunchHostFunc, 1, cudaErrorLaunchFailure);
  cudart_cpu::resetCounters();
  EXPECT_NO_THROW(host().render(*frame));
  EXPECT_EQ(cudart_cpu::count(Call::cudaMemcpyAsync), facts_.uploads(2));
  EXPECT_EQ(cudart_cpu::count(Call::cudaGetLastError) + cudart_cpu::count(Call::cudaPeekAtLastError), 0U);
  EXPECT_EQ(memoryCallsOf(scene), Names{});
}

// Luma and chroma of the first detection, then of the second; or all at once.
TEST_F(DeviceCalls, AFailedLaunchCostsOnePlaneOfOneDetectionOrTheFrame) {
  const Scene scene = covered(6, 4, 2);
  const std::vector<uint8_t> whole = model::expectedFrame(scene);
  for (unsigned nth = 1; nth <= facts_.launches(2); ++nth) {
    Scene rest = scene;
    rest.inputs[0].detections.erase(rest.inputs[0].detections.begin() + (nth - 1) / 2);
    const std::vector<uint8_t> without = model::expectedFrame(rest);
    const bool is_luma = nth % 2 == 1;
    std::vector<uint8_t> expected = is_luma ? without : whole;
    const std::vector<uint8_t>& chroma = is_luma ? whole : without;
    std::copy(chroma.begin() + 6 * 4, chroma.end(), expected.begin() + 6 * 4);
    if (!facts_.draws_one_by_one) expected = scene.frame;

    const auto frame = readyFrame(scene);
    cudart_cpu::failCall(Call::cudaLaunchHostFunc, nth, cudaErrorLaunchFailure);
    host().render(*frame);
    EXPECT_TRUE(sameFrame(scene, expected, frame->pixels())) << "launch " << nth;
  }
}

TEST_F(DeviceCalls, LargestCapUploadsOnceADetectionOrAFrame) {
  Scene scene = covered(2, 2, 300);
  scene.settings.cap = 4096;
  host().configure(scene.settings);
  callsOf(scene);
  EXPECT_EQ(cudart_cpu::count(Call::cudaMemcpyAsync), facts_.uploads(300));
  EXPECT_EQ(cudart_cpu::count(Call::cudaMalloc), 1U);
}

// A hundred frames a camera, none drawn when the last one is queued; then the streams move on, the last one
// first.
TEST(HeldStreams, OfSeveralInstancesAreDrawnInWhicheverOrderTheyMoveOn) {
  constexpr unsigned kFrames = 100;
  const cudart_cpu::ScopedReset reset;
  std::vector<std::unique_ptr<plugin_test::Camera>> cameras;
  for (unsigned i = 0; i < 4; ++i) {
    cameras.push_back(
        std::make_unique<plugin_test::Camera>(plugin_test::scenesByFallingSize(20000 + 1000 * i, kFrames)));
    cudart_cpu::hold(cameras.back()->stream());
  }
  cudart_cpu::resetCounters();
  for (unsigned frame = 0; frame < kFrames; ++frame) {
    for (const auto& camera : cameras) camera->render(frame);
  }
  std::size_t held = 0;
  for (const auto& camera : cameras) held += cudart_cpu::heldWork(camera->stream());
  EXPECT_EQ(held, cudart_cpu::count(Call::cudaMemcpyAsync) + cudart_cpu::count(Call::cudaLaunchHostFunc) +
                      cudart_cpu::count(Call::cudaEventRecord));
  EXPECT_GT(held, 200U);
  for (auto camera = cameras.rbegin(); camera != cameras.rend(); ++camera) {
    cudart_cpu::release((*camera)->stream());
    for (unsigned frame = 0; frame < kFrames; ++frame) EXPECT_TRUE((*camera)->drewAsModelled(frame));
  }
}

}  // namespace
