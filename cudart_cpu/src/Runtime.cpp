#include "src/Runtime.h"

namespace cudart_cpu {

Runtime& Runtime::instance() {
  static auto* const runtime = new Runtime;
  return *runtime;
}

ThreadState& ThreadState::current() {
  thread_local ThreadState state;
  return state;
}

}  // namespace cudart_cpu
