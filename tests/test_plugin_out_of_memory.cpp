// Each operation of the plug-in with its first, its second, ... allocation failing, alone or with all that
// follow.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <opencv2/core.hpp>
#include <string>
#include <utility>
#include <vector>

#include "cudart_cpu/control.h"
#include "render_base/RenderBase.h"
#include "test_support/Allocations.h"
#include "test_support/DeviceCallsTest.h"
#include "test_support/PartialFrames.h"
#include "test_support/StderrCapture.h"
#include "test_support/frame_check.h"
#include "test_support/model/scene_frame.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"

namespace {

using plugin_test::Frame;
using plugin_test::HeldOfDevice;
using plugin_test::sameFrame;
using scene::Scene;
using Bytes = std::vector<uint8_t>;

// Counts the matrices that OpenCV allocates: the bytes of one are lost when the second of its two allocations
// fails, which no counting of ours would see.
class WatchedMatrices : public cv::MatAllocator {
 public:
  WatchedMatrices() { cv::Mat::setDefaultAllocator(this); }
  ~WatchedMatrices() override { cv::Mat::setDefaultAllocator(nullptr); }

  int made() const { return made_; }

  cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                         cv::AccessFlag access, cv::UMatUsageFlags usage) const override {
    ++made_;
    return cv::Mat::getStdAllocator()->allocate(dims, sizes, type, data, step, access, usage);
  }
  bool allocate(cv::UMatData* data, cv::AccessFlag access, cv::UMatUsageFlags usage) const override {
    return cv::Mat::getStdAllocator()->allocate(data, access, usage);
  }
  void deallocate(cv::UMatData* data) const override { cv::Mat::getStdAllocator()->deallocate(data); }

 private:
  mutable int made_ = 0;
};

// Runs `work`, which calls succeeds(), with each failure. It must give back all that it allocates, on the
// device too.
void forEachFailure(const std::function<void()>& work) {
  operatorNew.start(std::numeric_limits<int>::max());
  work();  // Statics keep their memory.
  for (const auto fails : {Countdown::Fails::Once, Countdown::Fails::FromThenOn}) {
    const auto checked = [&work] {
      const long before = allocationsAlive();
      const HeldOfDevice before_on_device;
      work();
      EXPECT_EQ(allocationsAlive(), before) << "memory leaked";
      EXPECT_EQ(HeldOfDevice(), before_on_device) << "leaked on the device";
    };
    EXPECT_GT(runWithEachFailure(operatorNew, checked, fails), 0) << "nothing was allocated";
  }
}

// Four detections of two producers, whose masks take every way from a text to the frame. Side by side, so
// that none hides that another is missing. The full weight makes a second pass over the same picture draw the
// same bytes again.
Scene crowdedScene() {
  constexpr int kWidth = 160;
  constexpr int kHeight = 30;
  std::vector<scene::Detection> detections(4, scene::coverAll(kWidth, kHeight));
  for (int32_t i = 0; i < 4; ++i) {
    scene::Detection& detection = detections[static_cast<std::size_t>(i)];
    detection.x = 40 * i;
    detection.w = 40;
    detection.class_id = i;
  }
  detections[1].mask = scene::chessMask(kWidth, kHeight);
  detections[2].mask = scene::chessMask(97, 61);
  detections[3].mask = scene::chessMask(70000, 3);

  Scene scene = scene::oneProducer(kWidth, kHeight, {detections[0], detections[1]});
  scene.inputs.push_back(scene.inputs[0]);
  scene.inputs[1].producer = "a producer whose name needs memory";
  scene.inputs[1].form = scene::PayloadForm::text;
  scene.inputs[1].detections = {detections[2], detections[3]};
  scene.reported = {scene.inputs[1].producer, "a producer that delivers nothing"};
  scene.settings.alpha = 1.0F;
  return scene;
}

class PluginOutOfMemory : public ::testing::Test {
 protected:
  plugin_test::PluginLibrary::Instance newPlugin() {
    plugin_test::PluginLibrary::Instance plugin = library_.create();
    RenderInit init;
    init.backend = &backend_;
    plugin->init(init);
    return plugin;
  }

  static void configure(IRenderPlugin& plugin, const scene::Settings& settings) {
    plugin.setConfig("{\"alpha\": " + std::to_string(settings.alpha) +
                     ", \"min_score\": " + std::to_string(settings.min_score) +
                     ", \"max_overlay_dets\": " + std::to_string(settings.cap) + "}");
  }

  Bytes drawnBy(IRenderPlugin& plugin, const Scene& scene) {
    Frame frame(scene, stream_.get());
    plugin.render(frame.context());
    return frame.pixels();
  }

  // A frame of a new instance during which allocations fail, and what comes after it.
  void tryFrame(const std::function<void(RenderContext&)>& prepare) {
    const auto plugin = newPlugin();
    configure(*plugin, scene_.settings);
    tryFrame(plugin, prepare);
  }

  void tryFrame(const plugin_test::PluginLibrary::Instance& plugin,
                const std::function<void(RenderContext&)>& prepare) {
    {
      Frame frame(scene_, stream_.get());
      prepare(frame.context());
      cudaGetLastError();  // forgets the last one
      cudart_cpu::resetCounters();
      const bool finished = succeeds([&] { plugin->render(frame.context()); });
      const bool onDevice = deviceFailed();
      const Bytes pixels = frame.pixels();
      if (finished && !onDevice) {
        EXPECT_TRUE(sameFrame(scene_, whole_, pixels));
      }
      EXPECT_TRUE(partial_.include(pixels)) << "a plane has part of a detection";
      if (!facts_.draws_one_by_one && pixels != whole_) {
        EXPECT_TRUE(sameFrame(scene_, scene_.frame, pixels)) << "part of the frame is drawn";
      }
      if (!finished && !facts_.draws_one_by_one) {
        EXPECT_EQ(cudart_cpu::count(cudart_cpu::Call::cudaMemcpyAsync), 0U) << "queued though it failed";
      }
      expectWholeViewOrNone(frame.context());
      plugin->render(frame.context());
      EXPECT_TRUE(sameFrame(scene_, whole_, frame.pixels())) << "drawn again";
      EXPECT_TRUE(sameFrame(scene_, scene_.frame, frame.sourcePixels())) << "the source was drawn on";
    }
    EXPECT_TRUE(sameFrame(scene_, whole_, drawnBy(*plugin, scene_))) << "the next frame";
  }

  // How many more allocations a frame takes than one whose detections lie outside, in the steady state.
  long allocationsByDrawing(const Scene& scene) {
    Scene outside = scene;
    for (scene::Input& input : outside.inputs) {
      for (scene::Detection& detection : input.detections) detection.x = scene.width;
    }
    const auto plugin = newPlugin();
    configure(*plugin, scene.settings);
    const auto allocationsOf = [&](const Scene& drawn) {
      Frame frame(drawn, stream_.get());
      frame.context().picture.ensureWritablePicShared();
      const long before = allocationsMade();
      plugin->render(frame.context());
      const long made = allocationsMade() - before;
      EXPECT_TRUE(sameFrame(drawn, model::expectedFrame(drawn), frame.pixels()));
      return made;
    };
    allocationsOf(scene);
    allocationsOf(outside);
    return allocationsOf(scene) - allocationsOf(outside);
  }

  void tryFrame() {
    tryFrame([](RenderContext& ctx) { ctx.picture.ensureWritablePicShared(); });
  }

  const Scene scene_ = crowdedScene();
  const Bytes whole_ = model::expectedFrame(scene_);
  const plugin_test::PartialFrames partial_{scene_};
  const plugin_test::OverlayFacts& facts_ = plugin_test::overlayFacts();
  const StderrCapture captured_;
  const WatchedMatrices matrices_;
  plugin_test::PluginLibrary library_;
  plugin_test::TestStream stream_;
  zelvo::DeviceRenderBackend backend_{stream_.get()};

 private:
  // The device's own bookkeeping needs memory too; what becomes of a frame then is the device's failure.
  bool deviceFailed() const {
    const auto uploads = cudart_cpu::count(cudart_cpu::Call::cudaMemcpyAsync);
    const auto launches = cudart_cpu::count(cudart_cpu::Call::cudaLaunchHostFunc);
    return cudaGetLastError() != cudaSuccess || launches < facts_.launches_an_upload * uploads;
  }

  void expectWholeViewOrNone(const RenderContext& ctx) {
    const auto found = ctx.producer_views.find(plugin_test::kDetections);
    if (found == ctx.producer_views.end()) return;
    const RenderProducerTypeView& view = found->second;
    EXPECT_EQ(view.producers, (std::vector<std::string>{scene_.reported[0], scene_.reported[1], "p"}));
    EXPECT_EQ(view.inputsByProducer.size(), 2U);
    EXPECT_EQ(view.statusByProducer.size(), 2U);
  }
};

TEST_F(PluginOutOfMemory, AFrameIsDrawnOrBadAllocLeavesAndTheNextOneIsDrawn) {
  forEachFailure([this] { tryFrame(); });
}

// What was outgrown is noted down to be freed later; a frame whose end nothing tells gives its buffer up too.
TEST_F(PluginOutOfMemory, AFrameThatNeedsMoreDeviceMemoryThanTheLast) {
  const Scene small = scene::oneProducer(2, 2, {scene::coverAll(2, 2)});
  for (const bool untold : {false, true}) {
    SCOPED_TRACE(untold);
    forEachFailure([&] {
      const auto plugin = newPlugin();
      configure(*plugin, scene_.settings);
      drawnBy(*plugin, small);
      tryFrame(plugin, [untold](RenderContext& ctx) {
        ctx.picture.ensureWritablePicShared();
        if (untold) cudart_cpu::failCall(cudart_cpu::Call::cudaEventRecord, 1, cudaErrorUnknown);
      });
      cudart_cpu::clearFailures();
    });
  }
}

// Ten sizes take twenty maps, more than any library keeps. They are asked for again from the last one on, so
// that what a failure leaves in the place of an older one is met there.
TEST_F(PluginOutOfMemory, FramesWhoseMaskSizesComeAndGo) {
  const auto sizesFrom = [](int least) {
    Scene scene = scene::oneProducer(6, 4, {});
    for (int i = 0; i < 10; ++i) {
      scene.inputs[0].detections.push_back(scene::coverAll(6, 4, i));
      scene.inputs[0].detections.back().mask = scene::chessMask(least + i, least + 20 + i);
    }
    return scene;
  };
  const Scene first = sizesFrom(1);
  const Scene second = sizesFrom(50);
  Scene again = first;
  std::reverse(again.inputs[0].detections.begin(), again.inputs[0].detections.end());
  const Bytes whole_again = model::expectedFrame(again);
  const Bytes whole_second = model::expectedFrame(second);
  forEachFailure([&] {
    const auto plugin = newPlugin();
    drawnBy(*plugin, first);
    {
      Frame frame(second, stream_.get());
      frame.context().picture.ensureWritablePicShared();
      succeeds([&] { plugin->render(frame.context()); });
    }
    EXPECT_TRUE(sameFrame(again, whole_again, drawnBy(*plugin, again)));
    EXPECT_TRUE(sameFrame(second, whole_second, drawnBy(*plugin, second)));
  });
}

TEST_F(PluginOutOfMemory, NoMatrixOfAFrameIsAllocatedByOpenCv) {
  const auto plugin = newPlugin();
  configure(*plugin, scene_.settings);
  EXPECT_TRUE(sameFrame(scene_, whole_, drawnBy(*plugin, scene_)));
  EXPECT_EQ(matrices_.made(), 0);
}

// As a kernel launch fails: in silence, and alone.
TEST_F(PluginOutOfMemory, ALaunchWithoutMemoryIsSkippedAlone) {
  const auto plugin = newPlugin();
  configure(*plugin, scene_.settings);
  int skipped = 0;
  runWithEachFailure(operatorNew, [&] {
    drawnBy(*plugin, scene_);  // whatever is kept from frame to frame is there, so each run allocates alike
    Frame frame(scene_, stream_.get());
    frame.context().picture.ensureWritablePicShared();
    cudaGetLastError();  // forgets the last one
    cudart_cpu::resetCounters();
    const bool finished = succeeds([&] { plugin->render(frame.context()); });
    const auto uploads = cudart_cpu::count(cudart_cpu::Call::cudaMemcpyAsync);
    const auto launches = cudart_cpu::count(cudart_cpu::Call::cudaLaunchHostFunc);
    if (launches == facts_.launches_an_upload * uploads || cudaGetLastError() != cudaSuccess) return;
    EXPECT_TRUE(finished);
    EXPECT_EQ(uploads, facts_.uploads(4));
    EXPECT_EQ(launches, facts_.launches(4) - 1);
    ++skipped;
  });
  EXPECT_EQ(skipped, 4 * facts_.allocations_a_detection);  // for luma and for chroma, or for none
}

// Beyond what gathering, decoding and mapping take, which frames take whose detections lie outside. Masks of
// several sizes may take their maps anew.
TEST_F(PluginOutOfMemory, OnceEverythingHasGrownDrawingAllocatesForItsLaunchesAlone) {
  Scene one_size = scene_;
  for (scene::Input& input : one_size.inputs) {
    for (scene::Detection& detection : input.detections) detection.mask = scene::chessMask(97, 61);
  }
  EXPECT_EQ(allocationsByDrawing(one_size), 4L * facts_.allocations_a_detection);
  if (!facts_.keeps_frame_masks) {
    EXPECT_EQ(allocationsByDrawing(scene_), 0);
  }
}

// The pool says that it could not copy by giving nothing, for want of memory too. So the host's own function
// copies here.
TEST_F(PluginOutOfMemory, AFrameWhosePictureIsStillToBeCopied) {
  zelvo::ZelvoPicturePool pool;
  const auto copyLater = [&pool](RenderContext& ctx) {
    ctx.picture.pool = nullptr;
    ctx.picture.sourceName = "a picture whose name needs memory";
    const std::shared_ptr<zelvo::ZelvoPicture> copy = pool.clone(*ctx.picture.source);
    ctx.picture.cloneDetached = [copy](const std::string& name, uint64_t) {
      return name.empty() ? nullptr : copy;
    };
  };
  forEachFailure([&] { tryFrame(copyLater); });
}

// Here OpenCV, the plug-in and the libraries below have statics of their own still to make.
TEST_F(PluginOutOfMemory, TheFirstFrameOfAProcess) {
  enum Outcome { failed = 1, noFailureLeft = 2 };
  for (int successes = 0;; ++successes) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      operatorNew.start(successes);
      tryFrame();
      _exit(HasFailure() ? failed : operatorNew.failed() ? 0 : noFailureLeft);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status) << " at allocation "
                                   << successes + 1;
    if (WEXITSTATUS(status) == noFailureLeft) {
      EXPECT_GT(successes, 0);
      return;
    }
    ASSERT_EQ(WEXITSTATUS(status), 0) << "at allocation " << successes + 1;
  }
}

TEST_F(PluginOutOfMemory, AConfigurationIsStoredWholeOrNotAtAll) {
  // Each of the three settings shows, whichever of them is the new one.
  Scene old = scene::oneProducer(2, 2, {});
  for (int32_t i = 0; i < 10; ++i) {
    old.inputs[0].detections.push_back(scene::coverAll(2, 2, i));
    old.inputs[0].detections.back().score = static_cast<float>(10 - i) / 10.0F;
  }
  old.settings = {0.5F, 0.25F, 7};
  Scene renewed = old;
  renewed.settings = {0.125F, 0.625F, 3};
  const std::string text =
      "{\"alpha\": \"0.1250000000000000000000\", \"min_score\": 0.6250000000000000000000, "
      "\"max_overlay_dets\": 3, \"a member that is not known\": [\"with a text that needs memory\"]}";
  forEachFailure([&] {
    const auto plugin = newPlugin();
    configure(*plugin, old.settings);
    std::string argument = text;
    const bool stored = succeeds([&] { plugin->setConfig(std::move(argument)); });
    const Scene& inForce = stored ? renewed : old;
    EXPECT_TRUE(sameFrame(inForce, model::expectedFrame(inForce), drawnBy(*plugin, inForce)));
    plugin->setConfig(text);
    EXPECT_TRUE(sameFrame(renewed, model::expectedFrame(renewed), drawnBy(*plugin, renewed)));
  });
}

TEST_F(PluginOutOfMemory, AConfigurationThatCannotBeReadChangesNothing) {
  Scene old = scene::oneProducer(2, 2, {scene::coverAll(2, 2)});
  old.settings.alpha = 0.5F;
  forEachFailure([&] {
    const auto plugin = newPlugin();
    configure(*plugin, old.settings);
    std::string argument = "{\"alpha\": 0.125, \"a member that is not known\": [\"with a text\", }";
    succeeds([&] { plugin->setConfig(std::move(argument)); });
    EXPECT_TRUE(sameFrame(old, model::expectedFrame(old), drawnBy(*plugin, old)));
  });
}

// The time of the next line moves on only when one is written.
TEST_F(PluginOutOfMemory, ASkipLineThatWasNotWrittenIsDueAtTheNextFrame) {
  const Scene empty = scene::oneProducer(2, 2, {});
  int lost = 0;
  forEachFailure([&] {
    const auto plugin = newPlugin();
    plugin->enableDebug(true);
    Frame first(empty, stream_.get());
    Frame second(empty, stream_.get());
    second.context().frame_id = 2;
    const StderrCapture lines;
    const bool finished = succeeds([&] { plugin->render(first.context()); });
    EXPECT_EQ(lines.text().empty(), !finished);
    plugin->render(second.context());
    const std::string line = std::string("[SegMask][Fallback] frame=") + (finished ? "1" : "2") +
                             " decision=skip providers_missing=1 providers_using_lookback=0\n";
    EXPECT_EQ(lines.text(), line);
    if (!finished) ++lost;
  });
  EXPECT_GT(lost, 0);
}

TEST_F(PluginOutOfMemory, TheViewCacheHoldsWholeViewsAlone) {
  const std::string type = "a payload type whose name needs memory";
  const std::vector<std::string> producers = {"the first producer, with a name", "the second producer alike",
                                              "the third one, without a report"};
  forEachFailure([&] {
    plugin_test::FrameContext parts;
    std::vector<RenderProducerStatus>& reports = parts.reports[type];
    std::vector<RenderInput>& inputs = parts.inputs[type];
    reports.resize(3);
    inputs.resize(3);
    for (std::size_t i = 0; i < 3; ++i) {
      // The third report is the first producer's again.
      reports[i].producer_id = producers[i % 2];
      reports[i].detail = std::string(40, static_cast<char>('a' + i));
      inputs[i].producer_id = producers[i];
    }
    const RenderContext& ctx = parts.ctx;
    RenderBase::producerTypeView(ctx, "other");
    const bool made = succeeds([&] { RenderBase::producerTypeView(ctx, type); });
    EXPECT_EQ(ctx.producer_views.count(type), made ? 1U : 0U);
    EXPECT_EQ(ctx.producer_views.count("other"), 1U);
    const RenderProducerTypeView& view = RenderBase::producerTypeView(ctx, type);
    EXPECT_EQ(view.producers, producers);
    EXPECT_EQ(view.inputsByProducer.size(), 3U);
    EXPECT_EQ(view.statusByProducer.size(), 2U);
    EXPECT_EQ(view.statusByProducer.at(producers[0]).detail, std::string(40, 'a'));
  });
}

TEST_F(PluginOutOfMemory, TheInstancesIdIsWholeOnceThereIsMemory) {
  forEachFailure([&] {
    const auto plugin = newPlugin();
    std::string id;
    if (!succeeds([&] { id = plugin->getUuid(); })) id = plugin->getUuid();
    EXPECT_EQ(id, "segmask-" + std::to_string(reinterpret_cast<uintptr_t>(plugin.get())));
  });
}

}  // namespace
