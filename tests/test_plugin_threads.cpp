// Several threads in one process, each with an instance of its own: what they share is the library, the value
// registries, the device and the standard error stream. The preset tsan looks for races.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "test_support/StartTogether.h"
#include "test_support/frame_check.h"
#include "test_support/model/scene_frame.h"
#include "test_support/plugin_harness.h"
#include "test_support/process_facts.h"
#include "test_support/random_scene.h"
#include "test_support/scene.h"

namespace {

using plugin_test::Frame;
using plugin_test::Host;
using scene::Scene;

constexpr unsigned kThreads = 8;
constexpr unsigned kFrames = 150;

/// A scene that no other thread and no other frame has.
Scene sceneOf(unsigned thread, unsigned frame) {
  return scene::randomScene(40000 + 1000 * thread + frame);
}

bool drawsAsModelled(Host& host, const Scene& scene) {
  const auto result = plugin_test::sameFrame(scene, model::expectedFrame(scene), host.drawn(scene));
  EXPECT_TRUE(result);
  return result;
}

class PluginThreads : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!plugin_test::deviceAvailable()) GTEST_SKIP() << "no CUDA device";
  }

  // Made one after the other, because only one thread at a time may load.
  static std::vector<std::unique_ptr<Host>> hosts() {
    std::vector<std::unique_ptr<Host>> hosts;
    for (unsigned i = 0; i < kThreads; ++i) hosts.push_back(std::make_unique<Host>());
    return hosts;
  }
};

TEST_F(PluginThreads, EightInstancesOnEightThreadsDrawAsIfEachWereAlone) {
  const auto hosts = PluginThreads::hosts();
  startTogether(kThreads, [&](unsigned i) {
    for (unsigned frame = 0; frame < kFrames; ++frame) {
      if (!drawsAsModelled(*hosts[i], sceneOf(i, frame))) return;
    }
  });
}

TEST_F(PluginThreads, LinesOfEightInstancesAreWholeAndAllThere) {
  const auto hosts = PluginThreads::hosts();
  const Scene empty = scene::oneProducer(2, 2, {});
  const Scene full = scene::oneProducer(2, 2, {scene::coverAll(2, 2)});
  for (unsigned i = 0; i < kThreads; ++i) hosts[i]->plugin()->enableDebug(true);

  // The frame with detections makes the next empty one the first of its run, which always writes.
  const std::string written = plugin_test::standardErrorOf([&] {
    startTogether(kThreads, [&](unsigned i) {
      for (unsigned frame = 0; frame < kFrames; ++frame) {
        Frame quiet(empty, hosts[i]->stream());
        quiet.context().frame_id = 1000 * i + frame;
        hosts[i]->render(quiet);
        hosts[i]->drawn(full);
      }
    });
  });
  std::vector<std::string> lines;
  std::istringstream stream(written);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  std::vector<std::string> wanted;
  for (unsigned i = 0; i < kThreads; ++i) {
    for (unsigned frame = 0; frame < kFrames; ++frame) {
      wanted.push_back("[SegMask][Fallback] frame=" + std::to_string(1000 * i + frame) +
                       " decision=skip providers_missing=1 providers_using_lookback=0");
    }
  }
  std::sort(lines.begin(), lines.end());
  std::sort(wanted.begin(), wanted.end());
  EXPECT_EQ(lines, wanted);
}

/// Resolves for all others in one thread of its own, as a host does whose store of payloads only one thread
/// may touch.
class ResolverThread {
 public:
  ResolverThread() : thread_([this] { serve(); }) {}
  ~ResolverThread() {
    post({});
    thread_.join();
  }
  ResolverThread(const ResolverThread&) = delete;
  ResolverThread& operator=(const ResolverThread&) = delete;

  /// A copy of the value, made over there; or what is thrown over there for the frame number 13.
  SwAny resolve(uint64_t frame_id, const SwAny& stored) {
    std::packaged_task<SwAny()> task([&] {
      if (frame_id == 13) throw std::runtime_error("the store has lost frame 13");
      ++resolved_;
      return stored;
    });
    std::future<SwAny> result = task.get_future();
    post(std::move(task));
    return result.get();
  }

  /// How many payloads it gave. To be asked when nobody waits for one.
  unsigned resolved() const { return resolved_; }

 private:
  void post(std::packaged_task<SwAny()> task) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      tasks_.push_back(std::move(task));
    }
    posted_.notify_one();
  }

  // Until an empty task comes.
  void serve() {
    for (;;) {
      std::unique_lock<std::mutex> lock(mutex_);
      posted_.wait(lock, [this] { return !tasks_.empty(); });
      std::packaged_task<SwAny()> task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      if (!task.valid()) return;
      task();
      done_.push_back(std::move(task));
    }
  }

  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<std::packaged_task<SwAny()>> tasks_;
  // Kept to the end, so that this thread never frees what a task threw: libstdc++ counts an exception's
  // owners where the thread sanitizer does not see it.
  std::vector<std::packaged_task<SwAny()>> done_;
  unsigned resolved_ = 0;
  std::thread thread_;  // last, because it uses all others
};

TEST_F(PluginThreads, PayloadsFromAResolverOnAnotherThreadAreDrawn) {
  const auto hosts = PluginThreads::hosts();
  ResolverThread store;
  RenderPayloadResolver resolver;
  resolver.resolve = [&](uint64_t frame_id, const SwAny& stored) { return store.resolve(frame_id, stored); };
  startTogether(kThreads, [&](unsigned i) {
    for (unsigned number = 0; number < kFrames; ++number) {
      const Scene scene = sceneOf(i, number);
      hosts[i]->configure(scene.settings);
      Frame frame(scene, hosts[i]->stream());
      frame.context().payload_resolver = &resolver;
      hosts[i]->render(frame);
      ASSERT_TRUE(plugin_test::sameFrame(scene, model::expectedFrame(scene), frame.pixels()));
    }
  });
  EXPECT_GT(store.resolved(), kThreads * kFrames / 2);
}

TEST_F(PluginThreads, WhatAResolverOnAnotherThreadThrowsReachesTheThreadThatRenders) {
  const auto hosts = PluginThreads::hosts();
  ResolverThread store;
  RenderPayloadResolver resolver;
  resolver.resolve = [&](uint64_t frame_id, const SwAny& stored) { return store.resolve(frame_id, stored); };
  const Scene scene = scene::oneProducer(6, 4, {scene::coverAll(6, 4)});
  startTogether(kThreads, [&](unsigned i) {
    for (uint64_t number = 10; number < 16; ++number) {
      Frame frame(scene, hosts[i]->stream());
      frame.context().frame_id = number;
      frame.context().payload_resolver = &resolver;
      std::string thrown;
      try {
        hosts[i]->render(frame);
      } catch (const std::runtime_error& error) {
        thrown = error.what();
      }
      const bool lost = number == 13;
      ASSERT_EQ(thrown, lost ? "the store has lost frame 13" : "");
      ASSERT_TRUE(
          plugin_test::sameFrame(scene, lost ? scene.frame : model::expectedFrame(scene), frame.pixels()));
    }
  });
}

TEST_F(PluginThreads, LibraryIsLoadedUsedAndLetGoManyTimesWhileAnotherInstanceDraws) {
  Host drawing;
  std::atomic<bool> done{false};
  std::atomic<unsigned> drawn{0};
  std::thread other([&] {
    while (!done && drawsAsModelled(drawing, sceneOf(0, drawn % 1000))) ++drawn;
  });
  for (unsigned cycle = 0; cycle < 100 || drawn < 100; ++cycle) {
    Host coming;
    if (!drawsAsModelled(coming, sceneOf(1, cycle % 1000)) || HasFailure()) break;
  }
  done = true;
  other.join();
}

// Whoever leaves last takes the library out of memory, while another thread waits to bring it back.
TEST_F(PluginThreads, EightThreadsLoadDrawAndUnloadInTurn) {
  std::mutex loading;
  startTogether(kThreads, [&](unsigned i) {
    for (unsigned cycle = 0; cycle < 25; ++cycle) {
      std::optional<Host> host;
      {
        const std::lock_guard<std::mutex> lock(loading);
        host.emplace();
      }
      const bool good =
          drawsAsModelled(*host, sceneOf(i, 2 * cycle)) && drawsAsModelled(*host, sceneOf(i, 2 * cycle + 1));
      host->plugin().destroyInstance();  // while others load: only the loader has to wait for its turn
      const std::lock_guard<std::mutex> lock(loading);
      host.reset();
      if (!good) return;
    }
  });
#ifndef SEG_MASK_SANITIZED
  EXPECT_FALSE(process_facts::isMapped(plugin_test::pluginPath()));
#endif
}

}  // namespace
