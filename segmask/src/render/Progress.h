#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace segmask {

/// Shows the progress of the work: on a terminal as a bar in its last line, elsewhere as a line every few
/// seconds.
///
/// Any thread may call it. Lines that others write to the bar's terminal go through printAbove().
class Progress {
 public:
  enum class Style { None, Lines, Bar };
  using Clock = std::chrono::steady_clock;

  /// Writes to `fd`, which is not owned. `total` is the number of frames, or of what `unit` names, where it
  /// is known.
  Progress(Style style, int fd, std::optional<uint64_t> total, Clock::time_point start = Clock::now(),
           std::string unit = "frames");

  /// Erases the bar.
  ~Progress();

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// So many units are done. Cheap enough for every frame: it writes only now and then.
  void update(uint64_t done, Clock::time_point now = Clock::now());

  /// Writes a line (without its line feed) above the bar.
  void printAbove(const std::string& line);

 private:
  std::string status(Clock::time_point now) const;
  std::string bar(Clock::time_point now) const;
  void write(const std::string& text) const;

  const Style style_;
  const int fd_;
  const std::optional<uint64_t> total_;
  const Clock::time_point start_;
  const std::string unit_;
  std::mutex mutex_;
  uint64_t done_ = 0;
  Clock::time_point nextWrite_;
  std::string shown_;  ///< the bar on the terminal; empty before the first
};

/// The style for standard error as it is: a bar on a terminal that can erase a line.
Progress::Style progressStyleFor(int fd);

}  // namespace segmask
