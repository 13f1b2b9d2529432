#pragma once

#include <pthread.h>

#include <csignal>

namespace segmask {

/// Turns the first SIGINT or SIGTERM into a wish that long work asks for: stop soon, but keep what is there.
/// A second one ends the process the hard way, for whoever cannot wait. One at a time in a process; the old
/// handling comes back at the end. Made by the thread that waits for input: the signals are to come there,
/// because only there they end a call that blocks. Destroyed by the same thread.
class Interrupt {
 public:
  Interrupt();
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  /// Wants the work stopped as a signal does, because it has failed elsewhere, and ends what the thread that
  /// made this object waits for. Any other thread may call it, and does so again as long as that thread goes
  /// on: it may just have been about to wait.
  void request() const;

  /// The calling thread gets no SIGINT and no SIGTERM from now on.
  static void leaveToOtherThreads();

  /// Whether the work is to stop since the last Interrupt was made. Any thread may ask.
  static bool requested();

  /// Becomes readable at the signal, for poll() beside what one waits for: a signal that comes just before a
  /// blocking call would not end it. -1, which poll() passes over, while there is no Interrupt.
  static int descriptor();

 private:
  struct sigaction oldInt_;
  struct sigaction oldTerm_;
  struct sigaction oldWake_;
  sigset_t oldMask_;
  pthread_t reader_;
};

}  // namespace segmask
