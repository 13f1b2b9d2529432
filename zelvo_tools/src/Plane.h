#pragma once

#include <cstddef>
#include <optional>

#include "src/PlaneLayout.h"

namespace zelvo {

/// One plane in a device allocation of its own, with guard bytes around it in builds that have them.
class Plane {
 public:
  /// Samples are undefined. Throws std::runtime_error when the device has no memory left.
  explicit Plane(const PlaneLayout& layout);
  ~Plane();
  Plane(const Plane&) = delete;
  Plane& operator=(const Plane&) = delete;

  const PlaneLayout& layout() const { return layout_; }
  int pitch() const { return static_cast<int>(layout_.pitch); }

  /// Device address of the first sample.
  unsigned char* samples() const;

  /// The offset of the first overwritten guard byte from the first sample; see firstDamagedByte.
  std::optional<std::ptrdiff_t> damage() const;

 private:
  PlaneLayout layout_;
  unsigned char* allocation_ = nullptr;
};

}  // namespace zelvo
