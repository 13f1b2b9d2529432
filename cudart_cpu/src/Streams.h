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

/// All streams and the tasks that they have still to do. The thread that makes a task ready runs it, without
/// holding the lock; a task must not throw. Any thread may call any function; a null handle is the default
/// stream.
class Streams {
 public:
  using Work = std::function<void()>;
  /// Returns the same work on a copy of the memory that the caller may overwrite after the call.
  using MakeSnapshot = std::function<Work()>;

  Streams();

  cudaStream_t create(bool nonBlocking);

  /// Runs the stream's tasks and ends it. False when it is not a live stream made by create.
  bool destroy(cudaStream_t handle);

  bool isLive(cudaStream_t handle) const;

  /// Queues `work` and runs all that is ready. When `work` has to wait and `makeSnapshot` is given, its
  /// result replaces `work` before this returns. False, with nothing queued, when the stream is not live; so
  /// for all calls below.
  bool submit(cudaStream_t handle, Work work, const MakeSnapshot& makeSnapshot = nullptr);

  /// Returns when all tasks of the stream, and those that they are ordered after, are done.
  bool finish(cudaStream_t handle);

  void finishAll();

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
    uint64_t number;   ///< in the order of submission
    StreamPtr stream;  ///< shared, because a stream may be destroyed while its last task runs
    Work work;
    bool running;
    bool awaited;  ///< a call waits for it, so a hold of its stream no longer applies
  };
  using Tasks = std::list<Task>;
  using Lock = std::unique_lock<std::mutex>;

  static bool keepOrder(const Stream& a, const Stream& b);

  // All of these are called with the mutex held; run and runReady release it while a task runs.
  StreamPtr find(cudaStream_t handle) const;
  bool mustWait(const Stream& stream, Tasks::const_iterator end) const;
  Tasks::iterator nextReady();
  void run(Tasks::iterator task, Lock& lock) noexcept;
  void runReady(Lock& lock) noexcept;
  void await(const std::function<bool(const Stream&)>& wanted, Lock& lock);

  mutable std::mutex mutex_;
  std::condition_variable taskDone_;
  std::map<cudaStream_t, StreamPtr> streams_;
  Tasks tasks_;
  uint64_t nextNumber_ = 0;
};

}  // namespace cudart_cpu
