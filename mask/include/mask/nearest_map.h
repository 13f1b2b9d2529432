#pragma once

#include <vector>

namespace seg_mask {

/// Which mask pixel each frame pixel shows, along one side of both: the choice of cv::resize with
/// cv::INTER_NEAREST for bytes. It never decreases from one frame pixel to the next.
class NearestMap {
 public:
  /// Takes the map for these sides, both at least 1, from cv::resize itself, unless it is there from the
  /// previous call. Throws std::bad_alloc when memory runs out.
  void prepare(int maskSide, int frameSide);

  /// True when every frame pixel shows the mask pixel of its own number.
  bool isIdentity() const { return identity_; }

  /// By frame pixel: the mask pixel.
  const std::vector<int>& maskPixels() const { return maskPixels_; }

  /// The first frame pixel that shows `maskPixel` or a later one; the frame's side when none does.
  int firstFrom(int maskPixel) const;

  /// The first frame pixel after `framePixel` that shows another mask pixel; the frame's side when none does.
  int nextAfter(int framePixel) const;

 private:
  int maskSide_ = 0;
  double ratio_ = 0.0;  // of the frame's side to the mask's
  bool identity_ = false;
  std::vector<int> maskPixels_;
};

}  // namespace seg_mask
