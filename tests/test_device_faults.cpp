// Every call that a frame makes of the device, failing in turn: alone, in several frames running, and with
// all the calls after it.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "cudart_cpu/control.h"
#include "test_support/DeviceCallsTest.h"
#include "test_support/PartialFrames.h"
#include "test_support/frame_check.h"
#include "test_support/model/scene_frame.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"

namespace {

using cudart_cpu::Call;
using plugin_test::Frame;
using plugin_test::Host;
using plugin_test::sameFrame;
using scene::Scene;

// The `nth` call of its kind in a frame.
struct Fault {
  Call call;
  unsigned nth;
};
using Faults = std::vector<Fault>;

// A scene with what it may look like.
struct Step {
  Scene scene;
  std::vector<uint8_t> whole;
  plugin_test::PartialFrames partial;

  explicit Step(const Scene& drawn) : scene(drawn), whole(model::expectedFrame(drawn)), partial(drawn) {}
};

Scene covered(int width, int height, int detections) {
  Scene scene = scene::oneProducer(width, height, {});
  for (int i = 0; i < detections; ++i) {
    scene.inputs[0].detections.push_back(scene::coverAll(width, height, i));
    scene.inputs[0].detections.back().mask = scene::chessMask(width - i, height);
  }
  return scene;
}

class DeviceFaults : public plugin_test::PluginTest {
 protected:
  // The calls of each frame of an instance that draws the steps in turn, the copy of its picture included.
  std::vector<Faults> callsOfEachFrame() {
    std::vector<Faults> frames;
    cudaGetLastError();
    Host host;
    for (const Step& step : steps_) {
      Frame frame(step.scene, host.stream());
      cudart_cpu::resetCounters();
      cudart_cpu::recordCalls(true);
      host.render(frame);
      cudart_cpu::recordCalls(false);
      std::map<Call, unsigned> seen;
      frames.emplace_back();
      for (const cudart_cpu::RecordedCall& call : cudart_cpu::recordedCalls()) {
        frames.back().push_back({call.call, ++seen[call.call]});
      }
    }
    return frames;
  }

  static void expectDrawn(Host& host, const Step& step) {
    Frame frame(step.scene, host.stream());
    host.render(frame);
    EXPECT_TRUE(sameFrame(step.scene, step.whole, frame.pixels()));
  }

  // One frame while these calls fail. A picture that could not be copied is told, and nothing else.
  void renderWith(const Faults& faults, Host& host, const Step& step) {
    Frame frame(step.scene, host.stream());
    RenderContext& ctx = frame.context();
    cudart_cpu::resetCounters();
    cudart_cpu::recordCalls(true);
    for (const Fault& fault : faults) cudart_cpu::failCall(fault.call, fault.nth, cudaErrorUnknown);
    try {
      host.render(frame);
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "LazyDetachedPicture cloneDetached failed");
      EXPECT_EQ(ctx.picture.writable, nullptr);
    }
    cudart_cpu::recordCalls(false);
    cudart_cpu::clearFailures();
    noteFailures();
    EXPECT_EQ(ctx.guard_active, ctx.guard.holds());
    EXPECT_EQ(ctx.guard_active, ctx.render_target != nullptr);
    EXPECT_EQ(ctx.guard_active, ctx.guard_backend != nullptr);
    const std::vector<uint8_t> pixels = frame.pixels();
    EXPECT_TRUE(step.partial.include(pixels)) << "a plane has part of a detection\n" << step.scene;
    if (!facts_.draws_one_by_one) {
      EXPECT_TRUE(pixels == step.whole || pixels == step.scene.frame) << "part of the frame is drawn";
    }
    EXPECT_TRUE(sameFrame(step.scene, step.scene.frame, frame.sourcePixels())) << "the source was drawn on";
  }

  // A new instance draws the steps. `count` of them, from `first` on, meet the faults; all the rest, and all
  // steps again afterwards, must be drawn as ever.
  void drawWith(const Faults& faults, std::size_t first, std::size_t count) {
    const plugin_test::HeldOfDevice before;
    cudaGetLastError();  // forgets those of other runs, because they may decide about calls
    failures_ = 0;
    kept_ = 0;
    {
      Host host;
      for (std::size_t i = 0; i < steps_.size(); ++i) {
        if (i < first || i >= first + count) {
          expectDrawn(host, steps_[i]);
        } else {
          renderWith(faults, host, steps_[i]);
        }
      }
      for (const Step& step : steps_) expectDrawn(host, step);
    }
    EXPECT_GT(failures_, 0U) << "nothing failed";
    EXPECT_EQ(plugin_test::HeldOfDevice(),
              (plugin_test::HeldOfDevice{before.device + kept_, before.pinned, before.events}))
        << "something leaked";
  }

  // The second frame needs more device memory than the first.
  const std::vector<Step> steps_ = {Step(covered(6, 4, 3)), Step(covered(40, 30, 2)), Step(covered(6, 4, 3))};

 private:
  void noteFailures() {
    for (const cudart_cpu::RecordedCall& call : cudart_cpu::recordedCalls()) {
      if (call.result == cudaSuccess) continue;
      ++failures_;
      if (call.call == Call::cudaFree && call.memory != nullptr) ++kept_;
    }
  }

  const plugin_test::OverlayFacts& facts_ = plugin_test::overlayFacts();
  std::size_t failures_ = 0;
  std::size_t kept_ = 0;  // by the device, which failed to free it
  cudart_cpu::ScopedReset reset_;
};

TEST_F(DeviceFaults, EachCallOfAFrameFailsAlone) {
  const std::vector<Faults> frames = callsOfEachFrame();
  for (std::size_t first = 0; first < frames.size(); ++first) {
    for (const Fault& fault : frames[first]) {
      SCOPED_TRACE(std::string(cudart_cpu::callName(fault.call)) + " " + std::to_string(fault.nth) +
                   " of frame " + std::to_string(first));
      drawWith({fault}, first, 1);
    }
  }
}

TEST_F(DeviceFaults, EachCallFailsInSeveralFramesRunning) {
  const std::vector<Faults> frames = callsOfEachFrame();
  for (std::size_t first = 0; first < frames.size(); ++first) {
    for (std::size_t count = 2; first + count <= frames.size(); ++count) {
      for (const Fault& fault : frames[first]) {
        SCOPED_TRACE(std::string(cudart_cpu::callName(fault.call)) + " " + std::to_string(fault.nth) +
                     " of " + std::to_string(count) + " frames from " + std::to_string(first));
        drawWith({fault}, first, count);
      }
    }
  }
}

TEST_F(DeviceFaults, EachCallFailsAndAllAfterIt) {
  const std::vector<Faults> frames = callsOfEachFrame();
  for (std::size_t first = 0; first < frames.size(); ++first) {
    for (std::size_t from = 0; from < frames[first].size(); ++from) {
      SCOPED_TRACE("from call " + std::to_string(from) + " of frame " + std::to_string(first));
      const Faults rest(frames[first].begin() + static_cast<std::ptrdiff_t>(from), frames[first].end());
      for (std::size_t count = 1; first + count <= frames.size(); ++count) drawWith(rest, first, count);
    }
  }
}

}  // namespace
