#include "src/Plane.h"

#include "src/CudaError.h"
#include "src/GuardBytes.h"

namespace zelvo {

Plane::Plane(const PlaneLayout& layout) : layout_(layout) {
  const std::size_t bytes = kGuardMargin + layout.bytes() + kGuardMargin;
  void* memory = nullptr;
  throwOnError(cudaMalloc(&memory, bytes), "allocating a picture plane");
  allocation_ = static_cast<unsigned char*>(memory);
  if (!kGuardBytes) return;
  try {
    fillWithGuardBytes(allocation_, bytes);
  } catch (...) {
    cudaFree(allocation_);
    throw;
  }
}

Plane::~Plane() {
  cudaFree(allocation_);
}

unsigned char* Plane::samples() const {
  return allocation_ + kGuardMargin;
}

std::optional<std::ptrdiff_t> Plane::damage() const {
  return firstDamagedByte(allocation_, layout_);
}

}  // namespace zelvo
