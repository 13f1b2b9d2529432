#pragma once

#include <vector>

namespace seg_mask {

/// Which mask pixel each frame pixel shows, along one dimension of both: the choice of cv::resize with
/// cv::INTER_NEAREST for bytes. It never decreases from one frame pixel to the next.
///
/// The map is taken from cv::resize itself and not from a formula, because its choice determines the drawn
/// pixels and differs between OpenCV's versions and between processors. It is taken byte by byte, one call
/// for each byte of the pixels' numbers, because for wider samples OpenCV may use other code, which may
/// choose otherwise.
class NearestMap {
 public:
  /// Takes the map for these dimensions, both at least 1, from cv::resize itself, unless the previous call
  /// was for the same dimensions. Throws std::bad_alloc when memory runs out.
  void prepare(int maskDimension, int frameDimension);

  /// True when every frame pixel shows the mask pixel of its own number.
  bool isIdentity() const { return identity_; }

  /// By frame pixel: the mask pixel.
  const std::vector<int>& maskPixels() const { return maskPixels_; }

  /// The first frame pixel that shows `maskPixel` or a later one; the frame's dimension when none does.
  int firstFrom(int maskPixel) const;

  /// The first frame pixel after `framePixel` that shows another mask pixel; the frame's dimension when none
  /// does.
  int nextAfter(int framePixel) const;

 private:
  int maskDimension_ = 0;
  double ratio_ = 0.0;  ///< of the frame's dimension to the mask's
  bool identity_ = false;
  std::vector<int> maskPixels_;
};

}  // namespace seg_mask
