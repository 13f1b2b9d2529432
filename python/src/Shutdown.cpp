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
State& state() {
  static auto* const kept = new State;
  return *kept;
}

/// Whether the interpreter is being ended by another thread. With the mutex held.
bool isEnding() {
  const std::thread::id ending = state().ending;
  return ending != std::thread::id() && ending != std::this_thread::get_id();
}

/// False where the work must not be done any more.
bool begin() {
  const std::lock_guard<std::mutex> lock(state().mutex);
  if (isEnding()) return false;
  ++state().working;
  return true;
}

void end() {
  const nb::gil_scoped_release released;
  std::unique_lock<std::mutex> lock(state().mutex);
  state().ending = std::this_thread::get_id();
  state().idle.wait(lock, [] { return state().working == 0; });
}

}  // namespace

void Shutdown::install() {
  nb::module_::import_("atexit").attr("register")(nb::cpp_function(&end));
}

bool Shutdown::requested() {
  const std::lock_guard<std::mutex> lock(state().mutex);
  return isEnding();
}

Shutdown::Work::Work() {
  if (begin()) return;
  const nb::gil_scoped_release released;
  std::this_thread::sleep_until(std::chrono::steady_clock::time_point::max());
}

Shutdown::Work::~Work() {
  const std::lock_guard<std::mutex> lock(state().mutex);
  --state().working;
  state().idle.notify_all();
}

}  // namespace segmask_python
