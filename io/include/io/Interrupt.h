#pragma once

#include <pthread.h>

#include <csignal>

namespace segmask {

/// Turns the first SIGINT or SIGTERM into a request to stop, which long work polls so that it can end soon
/// and keep its results. A second signal ends the process at once. At most one object exists per process; the
/// destructor restores the previous signal handling. The thread that waits for input must construct and
/// destroy the object: the signals have to arrive there, because they interrupt a blocking call only in the
/// thread that receives them.
class Interrupt {
 public:
  Interrupt();
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  /// Requests the stop as a signal does, for a failure in another thread, and interrupts a blocking call of
  /// the thread that made this object. Any other thread may call it, and repeats the call until that thread
  /// has stopped, because it may have been about to block.
  void request() const;

  /// Blocks SIGINT and SIGTERM in the calling thread.
  static void leaveToOtherThreads();

  /// Whether a stop was requested since the last Interrupt was made. Any thread may call it.
  static bool requested();

  /// A descriptor that becomes readable at the signal, for poll() together with the input: a signal that
  /// arrives just before a blocking call would not interrupt it. -1, which poll() ignores, while there is no
  /// Interrupt.
  static int descriptor();

 private:
  struct sigaction oldInt_;
  struct sigaction oldTerm_;
  struct sigaction oldWake_;
  sigset_t oldMask_;
  pthread_t reader_;
};

}  // namespace segmask
