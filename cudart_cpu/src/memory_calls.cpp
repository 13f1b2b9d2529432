#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "src/Runtime.h"

using cudart_cpu::begin;
using cudart_cpu::Call;
using cudart_cpu::MemoryTable;
using cudart_cpu::perform;
using cudart_cpu::RecordedCall;
using cudart_cpu::Runtime;
using cudart_cpu::Streams;

namespace {

using Byte = unsigned char;

/// One side of a copy: `rows` rows that begin `pitch` bytes apart.
template <class T>
struct Side {
  T* first;
  std::size_t pitch;
};

struct Rows {
  Side<Byte> to;
  Side<const Byte> from;
  std::size_t width;
  std::size_t rows;
};

Rows makeRows(void* dst, std::size_t dpitch, const void* src, std::size_t spitch, std::size_t width,
              std::size_t height) {
  return {{static_cast<Byte*>(dst), dpitch}, {static_cast<const Byte*>(src), spitch}, width, height};
}

/// memmove, because the two sides may overlap in one allocation.
void copyRows(const Rows& copy) {
  if (copy.to.pitch == copy.width && copy.from.pitch == copy.width) {
    std::memmove(copy.to.first, copy.from.first, copy.width * copy.rows);
    return;
  }
  for (std::size_t row = 0; row < copy.rows; ++row) {
    std::memmove(copy.to.first + row * copy.to.pitch, copy.from.first + row * copy.from.pitch, copy.width);
  }
}

/// The same copy, from a buffer of its own that holds the source's present bytes.
Streams::Work snapshotCopy(const Rows& copy) {
  auto bytes = std::make_shared<std::vector<Byte>>(copy.width * copy.rows);
  copyRows({{bytes->data(), copy.width}, copy.from, copy.width, copy.rows});
  return [copy, bytes] { copyRows({copy.to, {bytes->data(), copy.width}, copy.width, copy.rows}); };
}

enum class Place { Host, Device, Either };

struct Places {
  Place to;
  Place from;
};

bool placesOf(cudaMemcpyKind kind, Places& places) {
  switch (kind) {
    case cudaMemcpyHostToHost:
      places = {Place::Host, Place::Host};
      return true;
    case cudaMemcpyHostToDevice:
      places = {Place::Device, Place::Host};
      return true;
    case cudaMemcpyDeviceToHost:
      places = {Place::Host, Place::Device};
      return true;
    case cudaMemcpyDeviceToDevice:
      places = {Place::Device, Place::Device};
      return true;
    case cudaMemcpyDefault:
      places = {Place::Either, Place::Either};
      return true;
  }
  return false;
}

template <class T>
bool sideIsGood(const Runtime& runtime, const Side<T>& side, std::size_t width, std::size_t rows,
                Place place) {
  if (!side.first) return false;
  std::size_t bytes = 0;
  if (__builtin_mul_overflow(rows - 1, side.pitch, &bytes)) return false;
  if (__builtin_add_overflow(bytes, width, &bytes)) return false;
  if (runtime.device.contains(side.first))
    return place != Place::Host && runtime.device.holds(side.first, bytes);
  if (place == Place::Device) return false;
  return !runtime.pinned.contains(side.first) || runtime.pinned.holds(side.first, bytes);
}

/// cudaSuccess when the copy, of at least one byte, can be made.
cudaError_t check(const Runtime& runtime, const Rows& copy, cudaMemcpyKind kind) {
  Places places{};
  if (!placesOf(kind, places)) return cudaErrorInvalidMemcpyDirection;
  std::size_t total = 0;
  if (__builtin_mul_overflow(copy.width, copy.rows, &total)) return cudaErrorInvalidValue;
  if (!sideIsGood(runtime, copy.to, copy.width, copy.rows, places.to)) return cudaErrorInvalidValue;
  if (!sideIsGood(runtime, copy.from, copy.width, copy.rows, places.from)) return cudaErrorInvalidValue;
  return cudaSuccess;
}

std::size_t saturatedProduct(std::size_t a, std::size_t b) {
  std::size_t product = 0;
  return __builtin_mul_overflow(a, b, &product) ? std::numeric_limits<std::size_t>::max() : product;
}

/// Whether the source of an asynchronous copy may change after the call: pageable memory whose bytes go to
/// the device.
bool takesBytesAtTheCall(const Runtime& runtime, const Rows& copy) {
  return runtime.device.contains(copy.to.first) && !runtime.device.contains(copy.from.first) &&
         !runtime.pinned.contains(copy.from.first);
}

RecordedCall beginCopy(Call call, const Rows& copy, cudaMemcpyKind kind, cudaStream_t stream) {
  return {call, saturatedProduct(copy.width, copy.rows), kind, copy.to.first, stream, cudaSuccess};
}

/// Queues an asynchronous copy whose pitches are valid.
cudaError_t queueCopy(Runtime& runtime, const Rows& copy, cudaMemcpyKind kind, cudaStream_t stream) {
  if (!runtime.streams.isLive(stream)) return cudaErrorInvalidResourceHandle;
  if (copy.width == 0 || copy.rows == 0) return cudaSuccess;
  const cudaError_t error = check(runtime, copy, kind);
  if (error != cudaSuccess) return error;
  const auto work = [copy] { copyRows(copy); };
  const auto later = [&] {
    return takesBytesAtTheCall(runtime, copy) ? snapshotCopy(copy) : Streams::Work(work);
  };
  return runtime.streams.submit(stream, work, later) ? cudaSuccess : cudaErrorInvalidResourceHandle;
}

struct Extent {
  std::size_t width;
  std::size_t rows;
};

void fillRows(const Side<Byte>& to, int value, const Extent& extent) {
  for (std::size_t row = 0; row < extent.rows; ++row)
    std::memset(to.first + row * to.pitch, value, extent.width);
}

/// Makes either fill call.
cudaError_t fill(Call call, const Side<Byte>& to, int value, const Extent& extent, cudaStream_t stream) {
  const std::size_t bytes = saturatedProduct(extent.width, extent.rows);
  const RecordedCall made = {call, bytes, cudaMemcpyDefault, to.first, stream, cudaSuccess};
  return perform(made, [&](Runtime& runtime, RecordedCall&) {
    if (!runtime.streams.isLive(stream)) return cudaErrorInvalidResourceHandle;
    if (extent.width == 0 || extent.rows == 0) return cudaSuccess;
    if (extent.rows > 1 && to.pitch < extent.width) return cudaErrorInvalidValue;
    if (!sideIsGood(runtime, to, extent.width, extent.rows, Place::Device)) return cudaErrorInvalidValue;
    const bool queued = runtime.streams.submit(stream, [=] { fillRows(to, value, extent); });
    return queued ? cudaSuccess : cudaErrorInvalidResourceHandle;
  });
}

/// Gives out memory of either kind.
cudaError_t allocate(MemoryTable& allocations, void** address, std::size_t size, RecordedCall& record) {
  if (!address) return cudaErrorInvalidValue;
  void* memory = nullptr;
  if (size != 0) {
    memory = allocations.allocate(size);
    if (!memory) return cudaErrorMemoryAllocation;
  }
  *address = memory;
  record.memory = memory;
  return cudaSuccess;
}

/// Makes either call that frees.
cudaError_t release(Call call, MemoryTable Runtime::*allocations, void* memory) {
  RecordedCall made = begin(call);
  made.memory = memory;
  return perform(made, [&](Runtime& runtime, RecordedCall& record) {
    runtime.streams.finishAll();
    if (!memory || (runtime.*allocations).free(memory, record.bytes)) return cudaSuccess;
    return cudaErrorInvalidValue;
  });
}

}  // namespace

cudaError_t cudaMalloc(void** devPtr, std::size_t size) {
  RecordedCall made = begin(Call::cudaMalloc);
  made.bytes = size;
  return perform(made, [&](Runtime& runtime, RecordedCall& record) {
    return allocate(runtime.device, devPtr, size, record);
  });
}

cudaError_t cudaFree(void* devPtr) {
  return release(Call::cudaFree, &Runtime::device, devPtr);
}

cudaError_t cudaHostAlloc(void** pHost, std::size_t size, unsigned int flags) {
  RecordedCall made = begin(Call::cudaHostAlloc);
  made.bytes = size;
  return perform(made, [&](Runtime& runtime, RecordedCall& record) {
    if (flags != cudaHostAllocDefault) return cudaErrorInvalidValue;
    return allocate(runtime.pinned, pHost, size, record);
  });
}

cudaError_t cudaFreeHost(void* ptr) {
  return release(Call::cudaFreeHost, &Runtime::pinned, ptr);
}

cudaError_t cudaMemcpy(void* dst, const void* src, std::size_t count, cudaMemcpyKind kind) {
  const Rows copy = makeRows(dst, count, src, count, count, 1);
  return perform(beginCopy(Call::cudaMemcpy, copy, kind, nullptr), [&](Runtime& runtime, RecordedCall&) {
    if (count != 0) {
      const cudaError_t error = check(runtime, copy, kind);
      if (error != cudaSuccess) return error;
      runtime.streams.submit(nullptr, [copy] { copyRows(copy); });
    }
    runtime.streams.finish(nullptr);
    return cudaSuccess;
  });
}

cudaError_t cudaMemcpyAsync(void* dst, const void* src, std::size_t count, cudaMemcpyKind kind,
                            cudaStream_t stream) {
  const Rows copy = makeRows(dst, count, src, count, count, 1);
  return perform(beginCopy(Call::cudaMemcpyAsync, copy, kind, stream),
                 [&](Runtime& runtime, RecordedCall&) { return queueCopy(runtime, copy, kind, stream); });
}

cudaError_t cudaMemcpy2DAsync(void* dst, std::size_t dpitch, const void* src, std::size_t spitch,
                              std::size_t width, std::size_t height, cudaMemcpyKind kind,
                              cudaStream_t stream) {
  const Rows copy = makeRows(dst, dpitch, src, spitch, width, height);
  return perform(beginCopy(Call::cudaMemcpy2DAsync, copy, kind, stream),
                 [&](Runtime& runtime, RecordedCall&) {
                   if (dpitch < width || spitch < width) return cudaErrorInvalidPitchValue;
                   return queueCopy(runtime, copy, kind, stream);
                 });
}

cudaError_t cudaMemsetAsync(void* devPtr, int value, std::size_t count, cudaStream_t stream) {
  return fill(Call::cudaMemsetAsync, {static_cast<Byte*>(devPtr), count}, value, {count, 1}, stream);
}

cudaError_t cudaMemset2DAsync(void* devPtr, std::size_t pitch, int value, std::size_t width,
                              std::size_t height, cudaStream_t stream) {
  return fill(Call::cudaMemset2DAsync, {static_cast<Byte*>(devPtr), pitch}, value, {width, height}, stream);
}
