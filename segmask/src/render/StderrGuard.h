#pragma once

#include <functional>
#include <string>
#include <thread>

#include "io/FileDescriptor.h"

namespace segmask {

/// Captures everything that the process, a plug-in and its libraries included, writes to file descriptor 2,
/// and passes it on line by line, from a thread of its own. During its life descriptor 2 leads into a pipe;
/// the destructor passes on the last line and restores it. At most one object exists per process.
///
/// When the process dies by a signal such as SIGABRT or SIGSEGV, what was written before is still passed on,
/// because it may explain the crash.
class StderrGuard {
 public:
  /// Gets each line without its line feed. A line without an end counts as one when this object ends, or when
  /// it gets longer than 64 KiB. Must not throw, nor write to descriptor 2.
  using OnLine = std::function<void(const std::string& line)>;

  /// Throws UserError when there are no descriptors left.
  explicit StderrGuard(OnLine onLine);
  ~StderrGuard();
  StderrGuard(const StderrGuard&) = delete;
  StderrGuard& operator=(const StderrGuard&) = delete;

 private:
  void relay();

  OnLine onLine_;
  FileDescriptor saved_;
  FileDescriptor pipe_;  ///< the reading end; the only writing end is descriptor 2
  std::thread thread_;
};

/// Discards what is written to descriptor 2 during its life, for instance a library's start-up line.
class StderrSilence {
 public:
  StderrSilence();
  ~StderrSilence();
  StderrSilence(const StderrSilence&) = delete;
  StderrSilence& operator=(const StderrSilence&) = delete;

 private:
  FileDescriptor saved_;
};

}  // namespace segmask
