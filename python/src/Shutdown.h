#pragma once

#include <nanobind/nanobind.h>

namespace segmask_python {

/// Lets the interpreter end only when no thread works without the GIL any more: after its end the objects of
/// the libraries go, and a thread that waits for the GIL within C++ code would end the process.
class Shutdown {
 public:
  /// Registers the wait with Python's `atexit`. To be called once, with the GIL.
  static void install();

  /// Whether the interpreter is ending, so that long work of another thread has to end. Any thread may ask.
  static bool requested();

  /// Counts as work of this thread. To be made and destroyed with the GIL. When the interpreter is ending, a
  /// thread other than the one that ends it, a daemon thread thus, sleeps here until the process is gone.
  class Work {
   public:
    Work();
    ~Work();
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
  };
};

/// Releases the GIL for its life, as work that the interpreter's end waits for.
class Unlocked {
  Shutdown::Work work_;  // made before the GIL is released, gone after it is taken again
  nanobind::gil_scoped_release released_;
};

}  // namespace segmask_python
