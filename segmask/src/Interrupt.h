#pragma once

#include <csignal>

namespace segmask {

/// Turns the first SIGINT or SIGTERM into a wish that long work asks for: stop soon, but keep what is there.
/// A second one ends the process the hard way, for whoever cannot wait. One at a time in a process; the old
/// handling comes back at the end.
class Interrupt {
 public:
  Interrupt();
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  /// Whether a signal has come since the last Interrupt was made. Any thread may ask.
  static bool requested();

  /// Becomes readable at the signal, for poll() beside what one waits for: a signal that comes just before a
  /// blocking call would not end it. -1, which poll() passes over, while there is no Interrupt.
  static int descriptor();

 private:
  struct sigaction oldInt_;
  struct sigaction oldTerm_;
};

}  // namespace segmask
