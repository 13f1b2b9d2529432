#pragma once

#include <nanobind/nanobind.h>

#include <thread>

namespace segmask_python {

/// Lets the interpreter end only when no thread works without the GIL any more: after its end the objects of
/// the libraries go, and a thread that waits for the GIL within C++ code would end the process.
class Shutdown {
 public:
  /// Registers the wait with Python's `atexit`. To be called once, with the GIL. The child of a fork, in
  /// which no other thread is, waits only for its own.
  static void install();

  /// Whether the interpreter is ending, so that long work of another thread has to end. Any thread may ask.
  static bool requested();

  /// Sleeps until the process is gone.
  [[noreturn]] static void sleep();

  /// Counts as work of this thread. To be made and destroyed with the GIL. When the interpreter is ending, a
  /// thread other than the one that ends it, a daemon thread thus, sleeps here until the process is gone.
  class Work {
   public:
    Work();
    ~Work();
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
  };

  /// Counts as work that this thread does without the GIL for another, `worker`, which may pause its own.
  /// When the interpreter is ending and nothing works any more, this thread sleeps here until the process is
  /// gone.
  class Part {
   public:
    explicit Part(std::thread::id worker);
    ~Part();
    Part(const Part&) = delete;
    Part& operator=(const Part&) = delete;
  };

  /// Interrupts this thread's work while it runs Python code that may wait for ever. To be made and destroyed
  /// with the GIL. Sleeps at its end where Work does at its beginning.
  class Pause {
   public:
    Pause();
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
  };
};

/// Releases the GIL for its life, as work that the interpreter's end waits for.
class Unlocked {
  Shutdown::Work work_;  // made before the GIL is released, gone after it is taken again
  nanobind::gil_scoped_release released_;
};

}  // namespace segmask_python
