#include "src/GrowingDeviceBuffer.h"

#include <cuda_runtime.h>

#include <algorithm>

namespace seg_mask_overlay {

GrowingDeviceBuffer::~GrowingDeviceBuffer() {
  for (void* memory : outgrown_) cudaFree(memory);
  if (bytes_) cudaFree(bytes_);
}

bool GrowingDeviceBuffer::reserve(std::size_t bytes) {
  if (bytes <= capacity_) return true;
  const std::size_t capacity = std::max(bytes, 2 * capacity_);
  outgrown_.reserve(outgrown_.size() + 1);
  void* memory = nullptr;
  if (cudaMalloc(&memory, capacity) != cudaSuccess) return false;
  if (bytes_) outgrown_.push_back(bytes_);
  bytes_ = static_cast<unsigned char*>(memory);
  capacity_ = capacity;
  return true;
}

}  // namespace seg_mask_overlay
