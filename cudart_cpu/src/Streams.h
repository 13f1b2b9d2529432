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

/// All streams and the work they have still to do. Work is run by whichever thread makes it ready, never
/// under the lock, and must not throw. Any thread may call it; a null handle is the default stream.
class Streams {
 public:
  using Work = std::function<void()>;
  /// Makes work that can wait out of work that cannot: it takes what the caller may overwrite after the call.
  using MakeLasting = std::function<Work()>;

  Streams();

  cudaStream_t create(bool nonBlocking);

  /// Runs what the stream has to do and ends it. False when it is not a live stream made by create.
  bool destroy(cudaStream_t handle);

  bool isLive(cudaStream_t handle) const;

  /// Queues `work` and runs all that is ready. When `work` has to wait, `makeLasting`, if given, replaces it
  /// before this returns. False, with nothing queued, when the stream is not live; so for all calls below.
  bool submit(cudaStream_t handle, Work work, const MakeLasting& makeLasting = nullptr);

  /// Returns when all that the stream had to do, and what that is ordered after, is done.
  bool finish(cudaStream_t handle);

  void finishAll();

  bool hold(cudaStream_t handle);
  bool release(cudaStream_t handle);
  void releaseAll();

  /// Receives the number of pieces of work the stream has to do.
  bool pending(cudaStream_t handle, std::size_t& pieces) const;

 private:
  struct Stream {
    bool isDefault;
    bool nonBlocking;
    bool held;
  };
  using StreamPtr = std::shared_ptr<Stream>;

  struct Piece {
    std::uint64_t number;  ///< in the order of submission
    StreamPtr stream;      ///< shared, because a stream may be destroyed while its last piece runs
    Work work;
    bool running;
    bool awaited;  ///< somebody waits for it, so that a hold no longer counts
  };
  using Pieces = std::list<Piece>;
  using Lock = std::unique_lock<std::mutex>;

  static bool keepOrder(const Stream& a, const Stream& b);

  // The mutex is held in all of these; runReady gives it up while a piece runs.
  StreamPtr find(cudaStream_t handle) const;
  bool mustWait(const Stream& stream, Pieces::const_iterator end) const;
  Pieces::iterator nextReady();
  void run(Pieces::iterator piece, Lock& lock) noexcept;
  void runReady(Lock& lock) noexcept;
  void await(const std::function<bool(const Stream&)>& wanted, Lock& lock);

  mutable std::mutex mutex_;
  std::condition_variable pieceDone_;
  std::map<cudaStream_t, StreamPtr> streams_;
  Pieces pieces_;
  std::uint64_t nextNumber_ = 0;
};

}  // namespace cudart_cpu
