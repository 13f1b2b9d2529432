#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>

#include "cuda_runtime_api.h"

namespace cudart_cpu {

/// All streams, the tasks that they have still to do, and the events. The thread that makes a task ready runs
/// it, without holding the lock; a task must not throw. Any thread may call any function; a null handle is
/// the default stream.
class Streams {
 public:
  using Work = std::function<void()>;

  Streams();

  cudaStream_t create(bool nonBlocking);

  /// Runs the stream's tasks and ends it. False when it is not a live stream made by create.
  bool destroy(cudaStream_t handle);

  bool isLive(cudaStream_t handle) const;

  /// Runs `work`, a callable object, when it need not wait; queues what `later()` returns, a Work, when it
  /// has to. Then runs all that is ready. Allocates nothing for work that need not wait, unless other work is
  /// running. False, with nothing done, when the stream is not live; so for all calls below.
  template <class Callable, class Later>
  bool submit(cudaStream_t handle, const Callable& work, const Later& later) {
    return submitEither(handle, std::cref(work), std::cref(later));
  }

  /// The same for work that is queued as it is.
  template <class Callable>
  bool submit(cudaStream_t handle, const Callable& work) {
    return submit(handle, work, [&] { return Work(work); });
  }

  /// Returns when all tasks of the stream, and those that they are ordered after, are done.
  bool finish(cudaStream_t handle);

  void finishAll();

  cudaEvent_t createEvent();

  /// False when it is not a live event; so for all calls with an event.
  bool destroyEvent(cudaEvent_t handle);

  /// Lets the event stand for what the stream has to do now. Allocates nothing when that is nothing.
  bool record(cudaEvent_t event, cudaStream_t stream);

  /// Receives whether all is done that the event stands for.
  bool isComplete(cudaEvent_t handle, bool& complete) const;

  /// Returns when all is done that the event stands for.
  bool finishEvent(cudaEvent_t handle);

  std::size_t liveEvents() const;

  bool hold(cudaStream_t handle);
  bool release(cudaStream_t handle);
  void releaseAll();

  /// Receives the number of tasks that the stream still has to do.
  bool pending(cudaStream_t handle, std::size_t& tasks) const;

 private:
  struct Stream {
    bool isDefault;
    bool nonBlocking;
    bool held;
  };
  using StreamPtr = std::shared_ptr<Stream>;

  struct Task {
    uint64_t number = 0;  ///< in the order of submission
    StreamPtr stream;     ///< shared, because a stream may be destroyed while its last task runs
    Work work;
    bool running = false;
    bool awaited = false;  ///< a call waits for it, so a hold of its stream no longer applies
  };
  using Tasks = std::list<Task>;
  struct Event {
    uint64_t marker =
        0;  ///< the number of the task that stands for the event in its stream; 0 before the first
  };
  using Lock = std::unique_lock<std::mutex>;

  static bool keepOrder(const Stream& a, const Stream& b);

  bool submitEither(cudaStream_t handle, const Work& now, const std::function<Work()>& later);

  // All of these are called with the mutex held; run and runReady release it while a task runs.
  StreamPtr find(cudaStream_t handle) const;
  uint64_t enqueue(StreamPtr stream, Work work);
  bool mustWait(const Stream& stream) const;
  bool mustWait(const Stream& stream, Tasks::const_iterator end) const;
  Tasks::iterator nextReady();
  void run(Tasks::iterator task, Lock& lock) noexcept;
  void runReady(Lock& lock) noexcept;
  void await(const std::function<bool(const Task&)>& wanted, Lock& lock);

  mutable std::mutex mutex_;
  std::condition_variable taskDone_;
  std::map<cudaStream_t, StreamPtr> streams_;
  std::map<cudaEvent_t, std::unique_ptr<Event>> events_;
  Tasks tasks_;
  Tasks spare_;  ///< at most one, kept for the next task
  uint64_t lastNumber_ = 0;
};

}  // namespace cudart_cpu
