#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cuda_runtime_api.h"
#include "cudart_cpu/export.h"

/// Lets tests observe and control the runtime: counters, records, planned failures, held streams. The state
/// belongs to the process and is shared by all threads; any thread may call any function. These functions are
/// not counted as calls.
namespace cudart_cpu {

/// The calls that are counted, by their own names. Both overloads of cudaMalloc are one call;
/// cudaGetErrorName and cudaGetErrorString, which only look up a text, are not counted.
enum class Call {
  cudaGetDeviceCount,
  cudaDeviceSynchronize,
  cudaGetLastError,
  cudaPeekAtLastError,
  cudaMalloc,
  cudaFree,
  cudaHostAlloc,
  cudaFreeHost,
  cudaMemcpy,
  cudaMemcpyAsync,
  cudaMemcpy2DAsync,
  cudaMemsetAsync,
  cudaMemset2DAsync,
  cudaStreamCreate,
  cudaStreamCreateWithFlags,
  cudaStreamDestroy,
  cudaStreamSynchronize,
  cudaStreamQuery,
  cudaEventCreateWithFlags,
  cudaEventDestroy,
  cudaEventRecord,
  cudaEventQuery,
  cudaEventSynchronize,
  cudaLaunchHostFunc
};

/// The call's name. Static text.
CUDART_CPU_EXPORT const char* callName(Call call);

/// How often the call was made since the last resetCounters, failed ones included.
CUDART_CPU_EXPORT uint64_t count(Call call);

/// The same for all calls together.
CUDART_CPU_EXPORT uint64_t totalCalls();

/// The same for the calls whose purpose is to wait: cudaMemcpy, cudaStreamSynchronize, cudaEventSynchronize,
/// cudaDeviceSynchronize. cudaFree and cudaFreeHost wait too, but as a side effect, and are not among them.
CUDART_CPU_EXPORT uint64_t waitingCalls();

/// Sets all counters to 0 and forgets the recorded calls; recording stays on or off.
CUDART_CPU_EXPORT void resetCounters();

/// One call as it was made. Fields that the call does not have are 0, null or cudaMemcpyDefault.
struct RecordedCall {
  Call call;
  std::size_t bytes;    ///< allocated, copied, filled or freed; for rows width x height, saturated
  cudaMemcpyKind kind;  ///< as given to a copy
  const void* memory;   ///< allocated or freed, or the destination of a copy or fill
  cudaStream_t stream;  ///< the stream used or created, or that an event was recorded on
  cudaError_t result;
};

/// Starts or stops keeping a record of every call. Off at first, because the record only grows.
CUDART_CPU_EXPORT void recordCalls(bool on);

/// The calls recorded since recording began or since the last resetCounters, in the order in which they
/// returned.
CUDART_CPU_EXPORT std::vector<RecordedCall> recordedCalls();

/// Makes the `nth` next call of this kind fail, 1 being the very next: it returns `error`, sets the last
/// error and does nothing else. Later calls work again. Several plans may be active at once; each counts from
/// the moment when it was made. Throws std::invalid_argument when `nth` is 0 or `error` is cudaSuccess.
CUDART_CPU_EXPORT void failCall(Call call, unsigned nth, cudaError_t error);

/// Drops the plans of failCall that have not taken effect.
CUDART_CPU_EXPORT void clearFailures();

/// Holds back the stream's work from now on: it is queued, and so is other streams' work that is ordered
/// after it, until release or until a call waits for it and runs it; the hold goes on after such a call.
/// Throws std::invalid_argument when it is not a live stream, and so do the two functions below.
CUDART_CPU_EXPORT void hold(cudaStream_t stream);

/// Ends the hold and runs, in this thread, the work that waited for it.
CUDART_CPU_EXPORT void release(cudaStream_t stream);

/// The number of tasks that the stream has still to do.
CUDART_CPU_EXPORT std::size_t heldWork(cudaStream_t stream);

/// Device memory that was allocated and not freed yet.
struct LiveAllocations {
  std::size_t count;
  std::size_t bytes;
};
CUDART_CPU_EXPORT LiveAllocations liveAllocations();

/// The same for page-locked host memory (cudaHostAlloc).
CUDART_CPU_EXPORT LiveAllocations livePinnedAllocations();

/// The number of events that were created and not destroyed yet.
CUDART_CPU_EXPORT std::size_t liveEvents();

/// Releases every stream, clears counters, records and failures, and stops recording. Live allocations,
/// streams, events and the threads' last errors stay.
CUDART_CPU_EXPORT void reset();

/// Calls reset() when constructed and when destroyed, so that no test affects the next.
class CUDART_CPU_EXPORT ScopedReset {
 public:
  ScopedReset();
  ~ScopedReset();
  ScopedReset(const ScopedReset&) = delete;
  ScopedReset& operator=(const ScopedReset&) = delete;
};

}  // namespace cudart_cpu
