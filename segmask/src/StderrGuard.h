#pragma once

#include <functional>
#include <string>
#include <thread>

#include "io/FileDescriptor.h"

namespace segmask {

/// Catches what anybody in the process writes to file descriptor 2, a plug-in and its libraries included, and
/// hands it on line by line, from a thread of its own. While it lives, descriptor 2 leads into a pipe; the
/// end restores it after the last line was handed on. One at a time in a process.
///
/// When the process dies by a signal such as SIGABRT or SIGSEGV, what was written before is still handed on:
/// last words are the ones that matter.
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
  FileDescriptor pipe_;  // the reading end; the only writing end is descriptor 2
  std::thread thread_;
};

/// Drops what is written to descriptor 2 while it lives: for a library's greeting that is no news to anyone.
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
