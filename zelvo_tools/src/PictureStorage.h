#pragma once

#include <string>

#include "src/Plane.h"

namespace zelvo {

/// The samples of one NV12 picture, shared by the pictures, render targets and mappings that use them. In
/// builds with guard bytes these are checked at the end of its life, once all work of the device is done.
class PictureStorage {
 public:
  /// Throws std::invalid_argument when a dimension is not positive or a plane would not fit 32-bit byte
  /// offsets, std::runtime_error when the device has no memory left.
  PictureStorage(int width, int height);
  ~PictureStorage();
  PictureStorage(const PictureStorage&) = delete;
  PictureStorage& operator=(const PictureStorage&) = delete;

  int width() const { return width_; }
  int height() const { return height_; }
  const Plane& luma() const { return luma_; }
  const Plane& chroma() const { return chroma_; }

  /// Names the writer that draws on it from now on; a guard-byte report uses the name. Empty means unknown.
  void setWriter(std::string name);

  /// Whether the guard bytes are whole; true where there are none. Waits for all work of the device, then
  /// reports each damaged plane. A storage reports only once in its life.
  bool checkGuardBytes();

 private:
  bool checkPlane(const Plane& plane, const char* name) const;

  int width_;
  int height_;
  Plane luma_;
  Plane chroma_;
  std::string writer_;
  bool damaged_ = false;
};

}  // namespace zelvo
