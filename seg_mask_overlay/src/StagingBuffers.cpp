#include "src/StagingBuffers.h"

#include <algorithm>

namespace seg_mask_overlay {
namespace {

/// Whether the event has come. A query that finds it has not may replace the thread's last error by that
/// answer, where the host would take it for an error of its own. It is cleared then; but an error of the
/// host's could not be put back, so while there is one nothing is asked and the event counts as not come.
bool hasCome(cudaEvent_t event) {
  const cudaError_t before = cudaPeekAtLastError();
  if (before != cudaSuccess && before != cudaErrorNotReady) return false;
  const cudaError_t answer = cudaEventQuery(event);
  if (answer == cudaErrorNotReady && before == cudaSuccess) cudaGetLastError();
  return answer == cudaSuccess;
}

}  // namespace

StagingBuffers::~StagingBuffers() {
  if (unguarded_) cudaDeviceSynchronize();
  const auto release = [](Buffer& buffer) {
    if (!buffer.done_) return;
    if (buffer.in_use_) cudaEventSynchronize(buffer.done_);
    cudaEventDestroy(buffer.done_);
  };
  release(pageable_);
  for (Buffer& buffer : pinned_) release(buffer);
  for (const Buffer& buffer : pinned_) {
    if (buffer.bytes_) cudaFreeHost(buffer.bytes_);
  }
  for (void* memory : outgrown_) cudaFreeHost(memory);
}

StagingBuffers::Buffer* StagingBuffers::acquire(std::size_t bytes) {
  Buffer* const free = findFree();
  if (!free) {
    if (!prepareEvent(pageable_)) return nullptr;
    growPageable(bytes);
    return &pageable_;
  }
  return prepareEvent(*free) && growPinned(*free, bytes) ? free : nullptr;
}

/// The first one, so that a device that keeps up makes do with one buffer, and that stays in the cache.
StagingBuffers::Buffer* StagingBuffers::findFree() {
  for (Buffer& buffer : pinned_) {
    if (buffer.lost_ || (buffer.in_use_ && !hasCome(buffer.done_))) continue;
    buffer.in_use_ = false;
    return &buffer;
  }
  return nullptr;
}

bool StagingBuffers::prepareEvent(Buffer& buffer) {
  if (buffer.done_) return true;
  return cudaEventCreateWithFlags(&buffer.done_, cudaEventDisableTiming) == cudaSuccess;
}

bool StagingBuffers::growPinned(Buffer& buffer, std::size_t bytes) {
  if (bytes <= buffer.capacity_) return true;
  const std::size_t capacity = std::max(bytes, 2 * buffer.capacity_);
  outgrown_.reserve(outgrown_.size() + 1);
  void* memory = nullptr;
  if (cudaHostAlloc(&memory, capacity, cudaHostAllocDefault) != cudaSuccess) return false;
  if (buffer.bytes_) outgrown_.push_back(buffer.bytes_);
  buffer.bytes_ = static_cast<unsigned char*>(memory);
  buffer.capacity_ = capacity;
  return true;
}

void StagingBuffers::growPageable(std::size_t bytes) {
  if (bytes > pageable_memory_.size()) {
    pageable_memory_ = std::vector<unsigned char>();  // frees the old memory first
    pageable_memory_.resize(bytes);
  }
  pageable_.bytes_ = pageable_memory_.data();
}

void StagingBuffers::guard(Buffer& buffer, cudaStream_t stream) {
  buffer.in_use_ = cudaEventRecord(buffer.done_, stream) == cudaSuccess;
  if (buffer.in_use_) return;
  unguarded_ = true;
  // Nothing tells when the device has read page-locked memory. Ordinary memory has been read already.
  buffer.lost_ = &buffer != &pageable_;
}

}  // namespace seg_mask_overlay
