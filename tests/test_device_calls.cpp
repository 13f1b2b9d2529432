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
#include "test_support/frame_check.h"
#include "test_support/model/scene_frame.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"
#include "zelvo/ZelvoPicture.h"

namespace {

using cudart_cpu::Call;
using plugin_test::Frame;
using plugin_test::sameFrame;
using scene::Scene;

// The device's memory is host memory here, so a picture can be looked at while its stream stands still.
std::vector<uint8_t> bytesNow(const zelvo::ZelvoPicture& picture) {
  std::vector<uint8_t> bytes;
  for (int y = 0; y < picture.height(); ++y) {
    const unsigned char* row = picture.yPlane() + static_cast<std::ptrdiff_t>(y) * picture.yPitch();
    bytes.insert(bytes.end(), row, row + picture.width());
  }
  for (int y = 0; y < scene::chromaRows(picture.height()); ++y) {
    const unsigned char* row = picture.uvPlane() + static_cast<std::ptrdiff_t>(y) * picture.uvPitch();
    bytes.insert(bytes.end(), row, row + scene::chromaRowBytes(picture.width()));
  }
  return bytes;
}

Scene covered(int width, int height, int detections = 1) {
  Scene scene = scene::oneProducer(width, height, {});
  for (int i = 0; i < detections; ++i)
    scene.inputs[0].detections.push_back(scene::coverAll(width, height, i));
  return scene;
}

// As it would stand with only the first `count` detections.
std::vector<uint8_t> expectedAfter(Scene scene, std::size_t count) {
  scene.inputs[0].detections.resize(count);
  return model::expectedFrame(scene);
}

class DeviceCalls : public plugin_test::PluginTest {
 protected:
  // A frame whose picture is copied already, so that all calls of the pass are the plug-in's own.
  std::unique_ptr<Frame> readyFrame(const Scene& scene) {
    auto frame = std::make_unique<Frame>(scene, host().stream());
    frame->context().picture.ensureWritablePicShared();
    return frame;
  }

  // The calls of one pass.
  std::vector<cudart_cpu::RecordedCall> callsOf(const Scene& scene) {
    const auto frame = readyFrame(scene);
    cudart_cpu::resetCounters();
    cudart_cpu::recordCalls(true);
    host().render(*frame);
    cudart_cpu::recordCalls(false);
    std::vector<cudart_cpu::RecordedCall> calls = cudart_cpu::recordedCalls();
    EXPECT_TRUE(sameFrame(scene, model::expectedFrame(scene), frame->pixels()));
    return calls;
  }

  // The allocations and releases among them, with their sizes.
  std::vector<std::string> memoryCallsOf(const Scene& scene) {
    std::vector<std::string> names;
    for (const cudart_cpu::RecordedCall& call : callsOf(scene)) {
      if (call.call != Call::cudaMalloc && call.call != Call::cudaFree) continue;
      names.push_back(std::string(cudart_cpu::callName(call.call)) + " " + std::to_string(call.bytes));
    }
    return names;
  }

  cudart_cpu::ScopedReset reset_;
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

TEST_F(DeviceCalls, TwoItemsAreUploadedAndLaunchedInTurnFromOneBuffer) {
  const std::vector<cudart_cpu::RecordedCall> calls = callsOf(covered(6, 4, 2));
  // How many pieces of work a launch is made of is the launcher's own business.
  std::vector<std::string> order;
  for (const cudart_cpu::RecordedCall& call : calls) {
    const std::string name = cudart_cpu::callName(call.call);
    if (order.empty() || order.back() != name) order.push_back(name);
  }
  EXPECT_EQ(order, (std::vector<std::string>{"cudaMalloc", "cudaMemcpyAsync", "cudaLaunchHostFunc",
                                             "cudaMemcpyAsync", "cudaLaunchHostFunc"}));
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(calls[0].bytes, 24U);
  unsigned uploads = 0;
  for (const cudart_cpu::RecordedCall& call : calls) {
    EXPECT_EQ(call.result, cudaSuccess);
    if (call.call == Call::cudaMalloc) continue;
    EXPECT_EQ(call.stream, host().stream());
    if (call.call != Call::cudaMemcpyAsync) continue;
    ++uploads;
    EXPECT_EQ(call.bytes, 24U);
    EXPECT_EQ(call.kind, cudaMemcpyHostToDevice);
    EXPECT_EQ(call.memory, calls[0].memory);
  }
  EXPECT_EQ(uploads, 2U);
}

TEST_F(DeviceCalls, ItemsOutsideTheFrameAreNotUploaded) {
  Scene scene = covered(6, 4, 3);
  scene.inputs[0].detections[0].x = 6;
  scene.inputs[0].detections[2].h = 0;
  callsOf(scene);
  EXPECT_EQ(cudart_cpu::count(Call::cudaMemcpyAsync), 1U);
}

TEST_F(DeviceCalls, BufferIsKeptFromFrameToFrameAndOnlyGrows) {
  using Names = std::vector<std::string>;
  EXPECT_EQ(memoryCallsOf(covered(8, 6)), Names{"cudaMalloc 48"});
  EXPECT_EQ(memoryCallsOf(covered(8, 6)), Names{});
  EXPECT_EQ(memoryCallsOf(covered(3, 5)), Names{});
  EXPECT_EQ(memoryCallsOf(covered(48, 1)), Names{});
  EXPECT_EQ(memoryCallsOf(covered(7, 7)), (Names{"cudaFree 48", "cudaMalloc 49"}));
  EXPECT_EQ(memoryCallsOf(covered(8, 6)), Names{});
  EXPECT_EQ(memoryCallsOf(covered(25, 2)), (Names{"cudaFree 49", "cudaMalloc 50"}));
}

TEST_F(DeviceCalls, DestroyingTheInstanceFreesTheBuffer) {
  const std::size_t before = cudart_cpu::liveAllocations().count;
  { host().drawn(covered(8, 6)); }
  EXPECT_EQ(cudart_cpu::liveAllocations().count, before + 1);
  cudart_cpu::resetCounters();
  cudart_cpu::recordCalls(true);
  host().plugin().destroyInstance();
  const std::vector<cudart_cpu::RecordedCall> calls = cudart_cpu::recordedCalls();
  EXPECT_EQ(cudart_cpu::liveAllocations().count, before);
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].call, Call::cudaFree);
  EXPECT_EQ(calls[0].bytes, 48U);
}

TEST_F(DeviceCalls, FailureToFreeAtTheEndIsSwallowed) {
  host().drawn(covered(8, 6));
  cudart_cpu::failCall(Call::cudaFree, 1, cudaErrorIllegalAddress);
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
  EXPECT_EQ(cudart_cpu::count(Call::cudaMemcpyAsync), 6U);
}

TEST_F(DeviceCalls, FrameStandsUnchangedUntilItsStreamGoesOn) {
  const Scene scene = covered(7, 5, 3);
  const auto frame = readyFrame(scene);
  cudart_cpu::hold(host().stream());
  host().render(*frame);
  const zelvo::ZelvoPicture& picture = *frame->context().picture.writable;
  EXPECT_GT(cudart_cpu::heldWork(host().stream()), 0U);
  EXPECT_TRUE(sameFrame(scene, scene.frame, bytesNow(picture)));
  cudart_cpu::release(host().stream());
  EXPECT_TRUE(sameFrame(scene, model::expectedFrame(scene), bytesNow(picture)));
}

TEST_F(DeviceCalls, FramesQueuedBehindEachOtherAreAllDrawnRight) {
  // The second frame's masks go through the buffer that the first frame's work has not read yet.
  const Scene first = covered(7, 5, 2);
  Scene second = covered(7, 5, 2);
  second.inputs[0].detections[0].mask = scene::chessMask(7, 5);
  const auto first_frame = readyFrame(first);
  const auto second_frame = readyFrame(second);
  cudart_cpu::hold(host().stream());
  host().render(*first_frame);
  host().render(*second_frame);
  EXPECT_TRUE(sameFrame(first, first.frame, bytesNow(*first_frame->context().picture.writable)));
  cudart_cpu::release(host().stream());
  EXPECT_TRUE(
      sameFrame(first, model::expectedFrame(first), bytesNow(*first_frame->context().picture.writable)));
  EXPECT_TRUE(
      sameFrame(second, model::expectedFrame(second), bytesNow(*second_frame->context().picture.writable)));
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
  EXPECT_EQ(memoryCallsOf(scene), std::vector<std::string>{"cudaMalloc 24"});
}

TEST_F(DeviceCalls, FailedEnlargementGivesTheOldBufferUp) {
  callsOf(covered(4, 4));
  const Scene larger = covered(6, 4);
  const auto frame = readyFrame(larger);
  cudart_cpu::failCall(Call::cudaMalloc, 1, cudaErrorMemoryAllocation);
  cudart_cpu::resetCounters();
  host().render(*frame);
  EXPECT_EQ(cudart_cpu::count(Call::cudaFree), 1U);
  EXPECT_TRUE(sameFrame(larger, larger.frame, frame->pixels()));
  EXPECT_EQ(memoryCallsOf(covered(4, 4)), std::vector<std::string>{"cudaMalloc 16"});
}

TEST_F(DeviceCalls, FailureToFreeTheOldBufferCostsNoFrame) {
  callsOf(covered(4, 4));
  const Scene larger = covered(6, 4);
  const auto frame = readyFrame(larger);
  cudart_cpu::failCall(Call::cudaFree, 1, cudaErrorUnknown);
  host().render(*frame);
  EXPECT_TRUE(sameFrame(larger, model::expectedFrame(larger), frame->pixels()));
  EXPECT_EQ(memoryCallsOf(larger), std::vector<std::string>{});
}

TEST_F(DeviceCalls, FailedUploadKeepsEarlierItemsAndTheNextFrameIsWhole) {
  const Scene scene = covered(6, 4, 4);
  for (unsigned nth = 1; nth <= 4; ++nth) {
    const auto frame = readyFrame(scene);
    cudart_cpu::failCall(Call::cudaMemcpyAsync, nth, cudaErrorInvalidValue);
    cudart_cpu::resetCounters();
    host().render(*frame);
    EXPECT_EQ(cudart_cpu::count(Call::cudaMemcpyAsync), nth) << "uploads went on after the failed one";
    EXPECT_TRUE(sameFrame(scene, expectedAfter(scene, nth - 1), frame->pixels()));
    EXPECT_TRUE(frame->context().guard_active);
    EXPECT_EQ(memoryCallsOf(scene), std::vector<std::string>{});
  }
}

TEST_F(DeviceCalls, FailedLaunchesAreNotExamined) {
  const Scene scene = covered(6, 4, 2);
  const auto frame = readyFrame(scene);
  cudart_cpu::failCall(Call::cudaLaunchHostFunc, 1, cudaErrorLaunchFailure);
  cudart_cpu::resetCounters();
  EXPECT_NO_THROW(host().render(*frame));
  EXPECT_EQ(cudart_cpu::count(Call::cudaMemcpyAsync), 2U);
  EXPECT_EQ(cudart_cpu::count(Call::cudaGetLastError) + cudart_cpu::count(Call::cudaPeekAtLastError), 0U);
  EXPECT_EQ(memoryCallsOf(scene), std::vector<std::string>{});
}

// Luma and chroma of the first detection, then of the second.
TEST_F(DeviceCalls, AFailedLaunchCostsOnePlaneOfOneDetection) {
  const Scene scene = covered(6, 4, 2);
  const std::vector<uint8_t> whole = model::expectedFrame(scene);
  for (unsigned nth = 1; nth <= 4; ++nth) {
    Scene rest = scene;
    rest.inputs[0].detections.erase(rest.inputs[0].detections.begin() + (nth - 1) / 2);
    const std::vector<uint8_t> without = model::expectedFrame(rest);
    const bool is_luma = nth % 2 == 1;
    std::vector<uint8_t> expected = is_luma ? without : whole;
    const std::vector<uint8_t>& chroma = is_luma ? whole : without;
    std::copy(chroma.begin() + 6 * 4, chroma.end(), expected.begin() + 6 * 4);

    const auto frame = readyFrame(scene);
    cudart_cpu::failCall(Call::cudaLaunchHostFunc, nth, cudaErrorLaunchFailure);
    host().render(*frame);
    EXPECT_TRUE(sameFrame(scene, expected, frame->pixels())) << "launch " << nth;
  }
}

TEST_F(DeviceCalls, LargestCapUploadsOnceADetection) {
  Scene scene = covered(2, 2, 300);
  scene.settings.cap = 4096;
  host().configure(scene.settings);
  callsOf(scene);
  EXPECT_EQ(cudart_cpu::count(Call::cudaMemcpyAsync), 300U);
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
  EXPECT_EQ(held, cudart_cpu::count(Call::cudaMemcpyAsync) + cudart_cpu::count(Call::cudaLaunchHostFunc));
  EXPECT_GT(held, 200U);
  for (auto camera = cameras.rbegin(); camera != cameras.rend(); ++camera) {
    cudart_cpu::release((*camera)->stream());
    for (unsigned frame = 0; frame < kFrames; ++frame) EXPECT_TRUE((*camera)->drewAsModelled(frame));
  }
}

}  // namespace
