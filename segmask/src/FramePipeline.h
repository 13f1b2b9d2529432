#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <vector>

#include "host/DetectionStream.h"
#include "io/Frame.h"
#include "src/BoundedQueue.h"
#include "src/StageTimes.h"

namespace segmask {

/// What goes through the pipeline: a frame and what belongs to it.
struct FrameJob {
  uint64_t number = 0;
  Frame frame;
  std::vector<DetectionLine> lines;
  bool drawn = false;
};

/// Reads, draws and writes frames at the same time, each on a thread of its own, so that all together take as
/// long as the slowest of the three. Frames stay in order: each one is read, then drawn, then written, and
/// after the one before it.
///
/// There are kFrames frames, used again and again, so reading is at most that far ahead of writing.
///
/// What leaves a stage by exception ends the run just as in a loop that does one frame after the other: the
/// frames before it are still drawn and written, unless that fails too, and then this error counts.
class FramePipeline {
 public:
  /// What waits before the drawing, and before the writing.
  static constexpr std::size_t kFramesQueued = 2;
  /// These, and one in each stage's hands.
  static constexpr std::size_t kFrames = 2 * kFramesQueued + 3;

  struct Stages {
    /// Fills in the next job; its `number`, counted from 0, is set, the rest is as an earlier frame has left
    /// it. False at the end. Runs in the thread that calls run().
    std::function<bool(FrameJob&)> read;
    /// False when this job and all after it are to be dropped.
    std::function<bool(FrameJob&)> draw;
    std::function<void(const FrameJob&)> write;
    /// Ends `read`, which may be waiting for input, because nothing more is wanted. Called from the other
    /// threads, again and again until `read` has returned.
    std::function<void()> stopReading;
  };

  explicit FramePipeline(Stages stages);

  /// Takes all frames through the stages. To be called once. Throws what left the stage that failed.
  StageTimes run();

 private:
  void readFrames();
  void drawFrames();
  void writeFrames();
  void endReading(std::exception_ptr error);
  /// Returns when `read` will not be called again.
  void waitForReader();

  Stages stages_;
  StageTimes times_;
  BoundedQueue<FrameJob> free_{kFrames};
  BoundedQueue<FrameJob> read_{kFramesQueued};
  BoundedQueue<FrameJob> drawn_{kFramesQueued};
  std::exception_ptr error_;  // what ended the writing

  std::mutex mutex_;
  std::condition_variable readerChanged_;
  bool readerEnded_ = false;
};

}  // namespace segmask
