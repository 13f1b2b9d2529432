#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <new>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "host/FramePipeline.h"

namespace segmask {
namespace {

using namespace std::chrono_literals;
using Numbers = std::vector<uint64_t>;

constexpr uint64_t kNever = UINT64_MAX;
constexpr auto kLong = 30s;  // far more than a slow machine needs

/// Waits until `count` has got that far; false when it takes for ever.
bool waitFor(const std::atomic<uint64_t>& count, uint64_t wanted) {
  const auto end = std::chrono::steady_clock::now() + kLong;
  while (count < wanted) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

Numbers firstNumbers(uint64_t count) {
  Numbers numbers;
  for (uint64_t number = 0; number < count; ++number) numbers.push_back(number);
  return numbers;
}

/// Stages that do nothing but keep account; a test changes one or two of them. The counts say how many jobs
/// each stage has begun.
struct FakeStages {
  explicit FakeStages(uint64_t frames) {
    stages.read = [this, frames](FrameJob& job) {
      ++readBegun;
      return job.number < frames;
    };
    stages.draw = [this](FrameJob&) {
      ++drawBegun;
      return true;
    };
    stages.write = [this](const FrameJob& job) {
      ++writeBegun;
      written.push_back(job.number);
    };
    stages.stopReading = [this] { stopped = true; };
  }

  /// What the exception that a run ends in says; empty when there is none.
  std::string errorOfRun() {
    try {
      FramePipeline(stages).run();
    } catch (const std::exception& error) {
      return error.what();
    }
    return {};
  }

  FramePipeline::Stages stages;
  std::atomic<uint64_t> readBegun{0};
  std::atomic<uint64_t> drawBegun{0};
  std::atomic<uint64_t> writeBegun{0};
  std::atomic<bool> stopped{false};
  Numbers written;
};

[[noreturn]] void fail(const std::string& stage, uint64_t number) {
  throw std::runtime_error(stage + " " + std::to_string(number));
}

TEST(FramePipeline, WritesEveryFrameInOrderAsItWasReadAndDrawn) {
  constexpr uint64_t kFrames = 400;
  const auto doze = [](std::minstd_rand& random) {
    if (random() % 4 == 0) std::this_thread::sleep_for(std::chrono::microseconds(random() % 500));
  };
  std::minstd_rand readRandom(1);
  std::minstd_rand drawRandom(2);
  std::minstd_rand writeRandom(3);
  FakeStages fake(kFrames);
  fake.stages.read = [&](FrameJob& job) {
    doze(readRandom);
    job.frame.nv12.assign(6, static_cast<unsigned char>(job.number));
    job.frame.pts = static_cast<int64_t>(job.number);
    return job.number < kFrames;
  };
  fake.stages.draw = [&](FrameJob& job) {
    doze(drawRandom);
    for (unsigned char& byte : job.frame.nv12) byte ^= 0xFF;
    job.drawn = job.number % 3 == 0;
    return true;
  };
  fake.stages.write = [&](const FrameJob& job) {
    doze(writeRandom);
    const auto expected = static_cast<unsigned char>(job.number ^ 0xFF);
    EXPECT_EQ(job.frame.nv12, std::vector<unsigned char>(6, expected));
    EXPECT_EQ(job.frame.pts, static_cast<int64_t>(job.number));
    EXPECT_EQ(job.drawn, job.number % 3 == 0);
    fake.written.push_back(job.number);
  };
  FramePipeline(fake.stages).run();
  EXPECT_EQ(fake.written, firstNumbers(kFrames));
}

TEST(FramePipeline, AnEmptyVideoIsNoError) {
  FakeStages fake(0);
  FramePipeline(fake.stages).run();
  EXPECT_EQ(fake.written, Numbers{});
  EXPECT_EQ(fake.drawBegun, 0U);
}

TEST(FramePipeline, AReaderThatHasEndedByItselfIsNotStopped) {
  // Stopping would look like a wish of the user. The ends of the threads meet differently each time.
  for (int run = 0; run < 1'000; ++run) {
    FakeStages fake(2);
    FramePipeline(fake.stages).run();
    ASSERT_FALSE(fake.stopped) << "in run " << run;
  }
}

TEST(FramePipeline, EachStageHasItsThreadAndReadingTheCallers) {
  std::set<std::thread::id> readers;
  std::set<std::thread::id> drawers;
  std::set<std::thread::id> writers;
  FramePipeline::Stages stages;
  stages.read = [&](FrameJob& job) { return readers.insert(std::this_thread::get_id()), job.number < 50; };
  stages.draw = [&](FrameJob&) { return drawers.insert(std::this_thread::get_id()), true; };
  stages.write = [&](const FrameJob&) { writers.insert(std::this_thread::get_id()); };
  FramePipeline(stages).run();
  EXPECT_EQ(readers, std::set<std::thread::id>{std::this_thread::get_id()});
  ASSERT_EQ(drawers.size(), 1U);
  ASSERT_EQ(writers.size(), 1U);
  EXPECT_NE(*drawers.begin(), *writers.begin());
  EXPECT_NE(*drawers.begin(), std::this_thread::get_id());
  EXPECT_NE(*writers.begin(), std::this_thread::get_id());
}

TEST(FramePipeline, WhileTheFirstFrameIsWrittenTheOthersAreReadAndDrawnAndNoMore) {
  FakeStages fake(100);
  fake.stages.write = [&](const FrameJob& job) {
    if (job.number == 0) {
      // This one, two that wait for writing, one being drawn, two that wait for drawing, one being read.
      EXPECT_TRUE(waitFor(fake.drawBegun, 4));
      EXPECT_TRUE(waitFor(fake.readBegun, 7));
      std::this_thread::sleep_for(100ms);
      EXPECT_EQ(fake.drawBegun, 4U);
      EXPECT_EQ(fake.readBegun, 7U);
    }
    fake.written.push_back(job.number);
  };
  FramePipeline(fake.stages).run();
  EXPECT_EQ(fake.written, firstNumbers(100));
}

TEST(FramePipeline, UsesTheSameFewBuffersAgain) {
  std::set<const unsigned char*> buffers;
  FakeStages fake(300);
  fake.stages.read = [&](FrameJob& job) {
    job.frame.nv12.resize(6'000);
    buffers.insert(job.frame.nv12.data());
    return job.number < 300;
  };
  fake.stages.write = [&](const FrameJob& job) {
    if (job.number % 50 == 0) std::this_thread::sleep_for(5ms);
  };
  FramePipeline(fake.stages).run();
  EXPECT_LE(buffers.size(), 7U);
}

TEST(FramePipeline, AnErrorInAnyStageEndsTheRunAfterTheFramesBeforeIt) {
  for (const char* const failing : {"read", "draw", "write"}) {
    const std::string stage(failing);
    FakeStages fake(100);
    const FramePipeline::Stages good = fake.stages;
    fake.stages.read = [&](FrameJob& job) {
      if (stage == "read" && job.number == 9) fail(stage, 9);
      return good.read(job);
    };
    fake.stages.draw = [&](FrameJob& job) {
      if (stage == "draw" && job.number == 9) fail(stage, 9);
      return good.draw(job);
    };
    fake.stages.write = [&](const FrameJob& job) {
      if (stage == "write" && job.number == 9) fail(stage, 9);
      good.write(job);
    };
    EXPECT_EQ(fake.errorOfRun(), stage + " 9");
    EXPECT_EQ(fake.written, firstNumbers(9));
    // At most as far ahead as there are frames.
    EXPECT_LE(fake.readBegun, 9U + FramePipeline::kFrames);
  }
}

/// Reading fails at one frame, drawing at another, writing at a third; a stage that is to fail waits until
/// those before it have failed, if they will.
std::string errorOf(uint64_t readFails, uint64_t drawFails, uint64_t writeFails) {
  FakeStages fake(100);
  std::atomic<uint64_t> failed{0};
  fake.stages.read = [&](FrameJob& job) {
    if (job.number != readFails) return true;
    ++failed;
    fail("read", job.number);
  };
  fake.stages.draw = [&](FrameJob& job) {
    if (job.number != drawFails) return true;
    EXPECT_TRUE(waitFor(failed, readFails == kNever ? 0 : 1));
    ++failed;
    fail("draw", job.number);
  };
  fake.stages.write = [&](const FrameJob& job) {
    if (job.number != writeFails) return;
    EXPECT_TRUE(waitFor(failed, (readFails == kNever ? 0U : 1U) + (drawFails == kNever ? 0U : 1U)));
    fail("write", job.number);
  };
  return fake.errorOfRun();
}

TEST(FramePipeline, OfSeveralErrorsTheOneOfTheFirstFrameCountsThoughItComesLast) {
  EXPECT_EQ(errorOf(5, 4, 3), "write 3");
  EXPECT_EQ(errorOf(5, 4, kNever), "draw 4");
  EXPECT_EQ(errorOf(5, kNever, 4), "write 4");
  EXPECT_EQ(errorOf(kNever, 5, 3), "write 3");
  EXPECT_EQ(errorOf(2, 7, 9), "read 2");
}

TEST(FramePipeline, AnErrorEndsAReaderThatWaits) {
  for (const bool inDrawing : {true, false}) {
    FakeStages fake(100);
    fake.stages.read = [&](FrameJob& job) {
      ++fake.readBegun;
      while (job.number == 3 && !fake.stopped) std::this_thread::sleep_for(1ms);
      return !fake.stopped;
    };
    if (inDrawing) {
      fake.stages.draw = [&](FrameJob& job) -> bool {
        EXPECT_TRUE(waitFor(fake.readBegun, 4));
        fail("draw", job.number);
      };
    } else {
      fake.stages.write = [&](const FrameJob& job) {
        EXPECT_TRUE(waitFor(fake.readBegun, 4));
        fail("write", job.number);
      };
    }
    EXPECT_EQ(fake.errorOfRun(), inDrawing ? "draw 0" : "write 0");
  }
}

TEST(FramePipeline, StoppingIsRepeatedUntilTheReaderHasNoticed) {
  FakeStages fake(100);
  std::atomic<uint64_t> calls{0};
  fake.stages.stopReading = [&] { ++calls; };
  fake.stages.read = [&](FrameJob& job) {
    ++fake.readBegun;
    if (job.number < 3) return true;
    EXPECT_TRUE(waitFor(calls, 4));
    return false;
  };
  fake.stages.write = [&](const FrameJob& job) {
    EXPECT_TRUE(waitFor(fake.readBegun, 4));
    fail("write", job.number);
  };
  EXPECT_EQ(fake.errorOfRun(), "write 0");
}

TEST(FramePipeline, ErrorsCrossTheThreadsAsTheyAre) {
  FakeStages fake(10);
  fake.stages.draw = [](FrameJob&) -> bool { throw std::bad_alloc(); };
  EXPECT_THROW(FramePipeline(fake.stages).run(), std::bad_alloc);
  fake.stages.draw = [](FrameJob&) -> bool { throw 7; };
  EXPECT_THROW(FramePipeline(fake.stages).run(), int);
}

TEST(FramePipeline, WhenDrawingStopsWhatIsDrawnIsStillWritten) {
  FakeStages fake(100);
  fake.stages.draw = [&](FrameJob& job) { return job.number < 20; };
  fake.stages.write = [&](const FrameJob& job) {
    std::this_thread::sleep_for(1ms);
    fake.written.push_back(job.number);
  };
  FramePipeline(fake.stages).run();
  EXPECT_EQ(fake.written, firstNumbers(20));
}

TEST(FramePipeline, TellsHowLongEachStageWasAtWorkWithoutWhatItWaited) {
  constexpr uint64_t kFrames = 30;
  const auto kWork = 5ms;
  for (const int slow : {0, 1, 2}) {
    FakeStages fake(kFrames);
    const FramePipeline::Stages good = fake.stages;
    const auto work = [slow, kWork](int stage) {
      if (stage == slow) std::this_thread::sleep_for(kWork);
    };
    fake.stages.read = [&](FrameJob& job) { return work(0), good.read(job); };
    fake.stages.draw = [&](FrameJob& job) { return work(1), good.draw(job); };
    fake.stages.write = [&](const FrameJob& job) { work(2), good.write(job); };
    const StageTimes times = FramePipeline(fake.stages).run();
    const std::vector<StageTimes::Duration> busy{times.reading, times.drawing, times.writing};
    for (int stage = 0; stage < 3; ++stage) {
      const StageTimes::Duration its = busy[static_cast<std::size_t>(stage)];
      EXPECT_LE(its, times.whole);
      if (stage == slow) {
        EXPECT_GE(its, kFrames * kWork);
      } else {
        EXPECT_LT(its, kFrames * kWork / 2) << "stage " << stage << " beside slow stage " << slow;
      }
    }
  }
}

}  // namespace
}  // namespace segmask
