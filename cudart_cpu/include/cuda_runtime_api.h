// The CUDA runtime calls this project uses, implemented on the CPU. Names, tags, values, include guards and
// default arguments are those of the CUDA runtime, so that a source file compiles against either and an
// accidental second inclusion, of the toolkit's header, adds nothing. C++ only.
//
// The model
// - There is one device. Its memory is host memory, 16 GiB of it at most; fresh memory is filled with junk.
// - A stream runs its work in order, in the thread that makes the call, before the call returns. Work is
//   deferred when a test holds the stream (cudart_cpu/control.h) and when it is ordered after unfinished
//   work of another thread; the thread that ends the wait then runs it. The order of a stream is kept.
// - The null stream is the legacy default stream: its work comes after all earlier work of every stream made
//   without cudaStreamNonBlocking, and before all their later work.
// - Any thread may make any call at any time, except from within a host function (cudaLaunchHostFunc): every
//   call but those that ask for an error or its text is refused there with cudaErrorNotPermitted.
// - Every call that returns something other than cudaSuccess and cudaErrorNotReady sets the calling thread's
//   last error; cudaEventQuery sets it to cudaErrorNotReady too. When host memory runs out inside a call, it
//   returns cudaErrorMemoryAllocation.
//
// Addresses are checked more strictly than the CUDA runtime does: a copy whose kind says "device" for an
// address that is in no live device allocation, or "host" for one that is, and a copy or fill that runs past
// the end of its allocation, device or page-locked, are refused with cudaErrorInvalidValue. A copy or fill of
// nothing succeeds whatever the addresses are. Errors are found at the call, never later: work that was
// accepted succeeds.
//
// Not supported: graphs, managed memory, several devices, per-thread default streams; of page-locked memory
// and of events, what is not below.

#if !defined(__CUDA_RUNTIME_API_H__)
// The toolkit's own guard, so that its header adds nothing after this one.
#define __CUDA_RUNTIME_API_H__  // NOLINT(bugprone-reserved-identifier)

#include <cstddef>

#include "cudart_cpu/export.h"

#define CUDART_CB

#define cudaHostAllocDefault 0x00

#define cudaEventDefault 0x00
#define cudaEventBlockingSync 0x01
#define cudaEventDisableTiming 0x02

#define cudaStreamDefault 0x00
#define cudaStreamNonBlocking 0x01

/// The codes that the calls below return, and some that tests let them return.
enum cudaError {
  cudaSuccess = 0,
  cudaErrorInvalidValue = 1,
  cudaErrorMemoryAllocation = 2,
  cudaErrorInitializationError = 3,
  cudaErrorInvalidPitchValue = 12,
  cudaErrorInvalidMemcpyDirection = 21,
  cudaErrorNoDevice = 100,
  cudaErrorInvalidResourceHandle = 400,
  cudaErrorNotReady = 600,
  cudaErrorIllegalAddress = 700,
  cudaErrorLaunchFailure = 719,
  cudaErrorNotPermitted = 800,
  cudaErrorUnknown = 999
};
using cudaError_t = enum cudaError;

enum cudaMemcpyKind {
  cudaMemcpyHostToHost = 0,
  cudaMemcpyHostToDevice = 1,
  cudaMemcpyDeviceToHost = 2,
  cudaMemcpyDeviceToDevice = 3,
  cudaMemcpyDefault = 4  ///< the addresses tell which are device memory
};

using cudaStream_t = struct CUstream_st*;

using cudaEvent_t = struct CUevent_st*;

using cudaHostFn_t = void(CUDART_CB*)(void* userData);

extern "C" {

/// Stores 1. cudaErrorInvalidValue when `count` is null.
CUDART_CPU_EXPORT cudaError_t cudaGetDeviceCount(int* count);

/// Waits for all work of all streams; runs what is held.
CUDART_CPU_EXPORT cudaError_t cudaDeviceSynchronize(void);

/// The calling thread's last error, which becomes cudaSuccess.
CUDART_CPU_EXPORT cudaError_t cudaGetLastError(void);

/// The calling thread's last error, which stays.
CUDART_CPU_EXPORT cudaError_t cudaPeekAtLastError(void);

/// The code's name as written above; "unrecognized error code" for any other value. Static text.
CUDART_CPU_EXPORT const char* cudaGetErrorName(cudaError_t error);

/// A short description of the code; "unrecognized error code" for any other value. Static text.
CUDART_CPU_EXPORT const char* cudaGetErrorString(cudaError_t error);

/// Stores the address of `size` bytes of junk, aligned to 256 bytes; a null address for 0 bytes. The caller
/// owns them (cudaFree). cudaErrorInvalidValue when `devPtr` is null; cudaErrorMemoryAllocation, with nothing
/// stored, when the device would hold more than 16 GiB. Waits for nothing.
CUDART_CPU_EXPORT cudaError_t cudaMalloc(void** devPtr, size_t size);

/// Waits for all work of all streams (runs what is held), then frees what cudaMalloc gave. Null is allowed.
/// cudaErrorInvalidValue when `devPtr` is not the start of a live allocation.
CUDART_CPU_EXPORT cudaError_t cudaFree(void* devPtr);

/// Stores the address of `size` bytes of page-locked host memory, junk, aligned to 256 bytes; a null address
/// for 0 bytes. The caller owns them (cudaFreeHost). cudaErrorInvalidValue when `pHost` is null or `flags` is
/// not cudaHostAllocDefault (the CUDA runtime knows others); cudaErrorMemoryAllocation, with nothing stored,
/// when more than 16 GiB would be page-locked. Waits for nothing. Nothing is locked here: what tells this
/// memory from other host memory is cudaMemcpyAsync.
CUDART_CPU_EXPORT cudaError_t cudaHostAlloc(void** pHost, size_t size, unsigned int flags);

/// Waits for all work of all streams (runs what is held), then frees what cudaHostAlloc gave. Null is
/// allowed. cudaErrorInvalidValue when `ptr` is not the start of a live allocation. (The CUDA runtime
/// documents no wait; a caller must expect one all the same.)
CUDART_CPU_EXPORT cudaError_t cudaFreeHost(void* ptr);

/// Copies `count` bytes in the order of the null stream and waits for it: work held there, and on the streams
/// that order themselves with it, runs; work held on a cudaStreamNonBlocking stream does not. (The CUDA
/// runtime may return from a device-to-device copy, and from a short one to the device, before it is done.)
/// cudaErrorInvalidMemcpyDirection when `kind` is none of the five.
CUDART_CPU_EXPORT cudaError_t cudaMemcpy(void* dst, const void* src, size_t count, enum cudaMemcpyKind kind);

/// Queues a copy of `count` bytes. Pageable host bytes that go to the device are taken before the call
/// returns, so their memory may be reused at once, as the CUDA runtime does. Page-locked memory
/// (cudaHostAlloc) is read when the stream runs the copy, and must stay as it is until then. A copy to host
/// memory happens in stream order like any other: its target must live until then. (The CUDA runtime waits
/// for such a copy when the target is pageable memory.)
CUDART_CPU_EXPORT cudaError_t cudaMemcpyAsync(void* dst, const void* src, size_t count,
                                              enum cudaMemcpyKind kind, cudaStream_t stream = nullptr);

/// Queues a copy of `height` rows of `width` bytes, from one pitch to another; otherwise like
/// cudaMemcpyAsync. Bytes between row end and pitch are neither read nor written. cudaErrorInvalidPitchValue
/// when a pitch is smaller than `width`; cudaErrorInvalidValue when a size overflows.
CUDART_CPU_EXPORT cudaError_t cudaMemcpy2DAsync(void* dst, size_t dpitch, const void* src, size_t spitch,
                                                size_t width, size_t height, enum cudaMemcpyKind kind,
                                                cudaStream_t stream = nullptr);

/// Queues setting `count` bytes of device memory to the low byte of `value`.
CUDART_CPU_EXPORT cudaError_t cudaMemsetAsync(void* devPtr, int value, size_t count,
                                              cudaStream_t stream = nullptr);

/// Queues the same for `height` rows of `width` bytes that begin `pitch` bytes apart. Bytes between row end
/// and pitch are not written. A single row has no need of a pitch, and any will do. cudaErrorInvalidValue
/// when several rows have a pitch smaller than `width`, or a size overflows.
CUDART_CPU_EXPORT cudaError_t cudaMemset2DAsync(void* devPtr, size_t pitch, int value, size_t width,
                                                size_t height, cudaStream_t stream = nullptr);

/// Creates a stream, owned by the caller (cudaStreamDestroy). cudaErrorInvalidValue when `pStream` is null.
CUDART_CPU_EXPORT cudaError_t cudaStreamCreate(cudaStream_t* pStream);

/// The same with flags: cudaStreamDefault, or cudaStreamNonBlocking for a stream without any order to the
/// null stream. cudaErrorInvalidValue for other flags.
CUDART_CPU_EXPORT cudaError_t cudaStreamCreateWithFlags(cudaStream_t* pStream, unsigned int flags);

/// Runs what the stream still has to do, held or not, and ends it. (The CUDA runtime returns at once and lets
/// the work finish by itself.) For this call and the ones below, cudaErrorInvalidResourceHandle when `stream`
/// is not a live stream; the null stream cannot be destroyed.
CUDART_CPU_EXPORT cudaError_t cudaStreamDestroy(cudaStream_t stream);

/// Waits for all work of the stream and for what that is ordered after; runs what is held.
CUDART_CPU_EXPORT cudaError_t cudaStreamSynchronize(cudaStream_t stream);

/// cudaSuccess when the stream has nothing left to do, else cudaErrorNotReady. Runs nothing.
CUDART_CPU_EXPORT cudaError_t cudaStreamQuery(cudaStream_t stream);

/// Creates an event, owned by the caller (cudaEventDestroy), that stands for no work. cudaErrorInvalidValue
/// when `event` is null or `flags` has others than cudaEventBlockingSync and cudaEventDisableTiming, which
/// change nothing here. For this call and the four below, an event that is not live is
/// cudaErrorInvalidResourceHandle.
CUDART_CPU_EXPORT cudaError_t cudaEventCreateWithFlags(cudaEvent_t* event, unsigned int flags);

/// Ends the event. Waits for nothing and runs nothing, whatever the event stands for.
CUDART_CPU_EXPORT cudaError_t cudaEventDestroy(cudaEvent_t event);

/// Lets the event stand for all work that the stream has to do at this call, and no longer for what it stood
/// for. A held stream does not get past the record, even if it has nothing else to do.
CUDART_CPU_EXPORT cudaError_t cudaEventRecord(cudaEvent_t event, cudaStream_t stream = nullptr);

/// cudaSuccess when the work that the event stands for is done, else cudaErrorNotReady. Runs nothing.
/// cudaErrorNotReady becomes the last error. (The CUDA runtime's documentation promises neither that it does
/// nor that it does not: a caller to whom it matters clears it.)
CUDART_CPU_EXPORT cudaError_t cudaEventQuery(cudaEvent_t event);

/// Waits for the work that the event stands for, and for what that is ordered after; runs what is held of it,
/// and no later work.
CUDART_CPU_EXPORT cudaError_t cudaEventSynchronize(cudaEvent_t event);

/// Queues a call of `fn(userData)`, which must neither make such calls nor throw. `userData` must live until
/// then. cudaErrorInvalidValue when `fn` is null. (The CUDA runtime calls it in a thread of its own.)
CUDART_CPU_EXPORT cudaError_t cudaLaunchHostFunc(cudaStream_t stream, cudaHostFn_t fn, void* userData);

}  // extern "C"

#endif
