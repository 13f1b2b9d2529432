#pragma once

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "io/FileDescriptor.h"

namespace segmask {

/// Runs functions in processes of their own, copies of this one, and waits for them. A crash of one leaves
/// the others alone. They die with this process, however it ends.
///
/// During its life SIGINT, SIGTERM and SIGCHLD are blocked and reach it through wait(). At most one object
/// exists per process. Only the thread that made it may use it, and no other thread may run meanwhile: a copy
/// of the process has the calling thread alone, and whatever another one had locked stays locked there.
class ProcessPool {
 public:
  /// Runs in the child process; returns its exit code. Must not throw.
  using Work = std::function<int()>;

  /// A process that has ended.
  struct Ended {
    pid_t process = 0;
    int status = 0;      ///< as waitpid gives it
    std::string errors;  ///< what it wrote to standard error; of much, the end
    double seconds = 0;  ///< from its start to its end
  };

  /// Throws UserError when there are no descriptors left.
  ProcessPool();

  /// Kills the processes that still run.
  ~ProcessPool();

  ProcessPool(const ProcessPool&) = delete;
  ProcessPool& operator=(const ProcessPool&) = delete;

  /// Starts a process. Its standard input is empty, its standard output is discarded, and its standard error
  /// is kept for Ended. Signals are to it what they were to this process before the pool. Throws UserError.
  pid_t start(const Work& work);

  /// Waits until a process ends or a signal arrives, at most that long. Gives the processes that have ended.
  std::vector<Ended> wait(std::chrono::milliseconds timeout);

  /// How often SIGINT or SIGTERM has arrived.
  int interrupts() const { return interrupts_; }

  std::size_t running() const { return children_.size(); }

  /// Ends a process that runs; wait() gives it.
  static void kill(pid_t process) { ::kill(process, SIGKILL); }

  /// Sends the signal to all processes that run.
  void signalAll(int signal) const;

 private:
  struct Child {
    FileDescriptor errors;  ///< the reading end of its standard error
    std::string text;
    std::chrono::steady_clock::time_point start;
  };

  [[noreturn]] void runInChild(const Work& work, pid_t parent, const FileDescriptor& errors) const;
  void takeSignals();

  sigset_t oldMask_;
  struct sigaction oldChild_;
  FileDescriptor signals_;
  std::map<pid_t, Child> children_;
  int interrupts_ = 0;
};

}  // namespace segmask
