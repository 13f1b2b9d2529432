#include "src/Shutdown.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace nb = nanobind;

namespace segmask_python {
namespace {

struct State {
  std::mutex mutex;
  std::condition_variable idle;
  int working = 0;
  std::thread::id ending;  ///< the thread that ends the interpreter; of none until then
};

/// Never destroyed: threads may ask it until the process is gone.
State*& kept() {
  static auto* state = new State;
  return state;
}

State& state() {
  return *kept();
}

/// Whether the interpreter is being ended by another thread than that one. With the mutex held.
bool isEnding(std::thread::id worker) {
  const std::thread::id ending = state().ending;
  return ending != std::thread::id() && ending != worker;
}

/// False where the work must not be done any more.
bool begin() {
  const std::lock_guard<std::mutex> lock(state().mutex);
  if (isEnding(std::this_thread::get_id())) return false;
  ++state().working;
  return true;
}

/// The same for work that is part of another thread's: others that work may be waiting for it.
bool beginFor(std::thread::id worker) {
  const std::lock_guard<std::mutex> lock(state().mutex);
  if (isEnding(worker) && state().working == 0) return false;
  ++state().working;
  return true;
}

void finish() {
  const std::lock_guard<std::mutex> lock(state().mutex);
  --state().working;
  state().idle.notify_all();
}

/// Begins, or sleeps without the GIL, which the thread has.
void beginOrSleep() {
  if (begin()) return;
  const nb::gil_scoped_release released;
  Shutdown::sleep();
}

void end() {
  const nb::gil_scoped_release released;
  std::unique_lock<std::mutex> lock(state().mutex);
  state().ending = std::this_thread::get_id();
  state().idle.wait(lock, [] { return state().working == 0; });
}

/// In the child of a fork: none of the threads that worked is in it, and one may have had the mutex.
void forget() {
  kept() = new State;
}

}  // namespace

void Shutdown::install() {
  nb::module_::import_("atexit").attr("register")(nb::cpp_function(&end));
  nb::module_::import_("os").attr("register_at_fork")(nb::arg("after_in_child") = nb::cpp_function(&forget));
}

bool Shutdown::requested() {
  const std::lock_guard<std::mutex> lock(state().mutex);
  return isEnding(std::this_thread::get_id());
}

void Shutdown::sleep() {
  for (;;) std::this_thread::sleep_until(std::chrono::steady_clock::time_point::max());
}

Shutdown::Work::Work() {
  beginOrSleep();
}

Shutdown::Work::~Work() {
  finish();
}

Shutdown::Part::Part(std::thread::id worker) {
  if (!beginFor(worker)) sleep();
}

Shutdown::Part::~Part() {
  finish();
}

Shutdown::Pause::Pause() {
  finish();
}

Shutdown::Pause::~Pause() {
  beginOrSleep();
}

}  // namespace segmask_python
