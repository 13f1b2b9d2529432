#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <vector>

#include "host/BoundedQueue.h"
#include "host/DetectionLineReader.h"
#include "host/StageTimes.h"
#include "io/Frame.h"

namespace segmask {

/// The element of the pipeline: a frame and its data.
struct FrameJob {
  uint64_t number = 0;
  Frame frame;
  std::vector<DetectionLine> lines;
  bool drawn = false;
};

/// Reads, draws and writes frames concurrently, each stage on a thread of its own, so that the run takes as
/// long as the slowest of the three. Frames stay in order: each one is read, then drawn, then written, and
/// after the one before it.
///
/// There are kFrames frames, used again and again, so reading is at most that far ahead of writing.
///
/// An exception from a stage ends the run as in a sequential loop: the frames before it are still drawn and
/// written. If that fails too, run() throws this error instead.
class FramePipeline {
 public:
  /// The most frames that wait for drawing, and the most that wait for writing.
  static constexpr std::size_t kFramesQueued = 2;
  /// The frames in both queues, and one in each stage.
  static constexpr std::size_t kFrames = 2 * kFramesQueued + 3;

  struct Stages {
    /// Fills in the next job. Its `number`, counted from 0, is set; the other members have an earlier frame's
    /// values. False at the end. Runs in the thread that calls run().
    std::function<bool(FrameJob&)> read;
    /// False when this job and all after it are to be dropped.
    std::function<bool(FrameJob&)> draw;
    std::function<void(const FrameJob&)> write;
    /// Interrupts `read`, which may be waiting for input, because no more frames are needed. Called from the
    /// other threads, repeatedly until `read` has returned.
    std::function<void()> stopReading;
  };

  explicit FramePipeline(Stages stages);

  /// Takes all frames through the stages. To be called once. Throws the exception of the stage that failed.
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
  std::exception_ptr error_;  ///< the error that ended the writing

  std::mutex mutex_;
  std::condition_variable readerChanged_;
  bool readerEnded_ = false;
};

}  // namespace segmask
