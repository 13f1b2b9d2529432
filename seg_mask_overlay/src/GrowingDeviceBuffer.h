#pragma once

#include <cstddef>
#include <vector>

namespace seg_mask_overlay {

/// Device memory that grows by doubling. What it has outgrown is kept until it is destroyed, because freeing
/// may wait for the whole device.
class GrowingDeviceBuffer {
 public:
  GrowingDeviceBuffer() = default;
  GrowingDeviceBuffer(const GrowingDeviceBuffer&) = delete;
  GrowingDeviceBuffer& operator=(const GrowingDeviceBuffer&) = delete;
  ~GrowingDeviceBuffer();

  /// Makes room for `bytes` bytes, whose contents are lost when it grows. False when the device has no memory
  /// for them; what there was stays. Throws std::bad_alloc when host memory runs out.
  bool reserve(std::size_t bytes);

  unsigned char* bytes() const { return bytes_; }

 private:
  unsigned char* bytes_ = nullptr;
  std::size_t capacity_ = 0;
  std::vector<void*> outgrown_;
};

}  // namespace seg_mask_overlay
