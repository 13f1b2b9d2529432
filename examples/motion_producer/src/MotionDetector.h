#pragma once

#include <opencv2/core.hpp>
#include <opencv2/video/background_segm.hpp>
#include <vector>

namespace motion_producer {

/// Something that moves before the still background.
struct Silhouette {
  cv::Rect box;  ///< in frame pixels
  cv::Mat mask;  ///< 8-bit, as large as the box: 255 inside
};

/// Finds what moves in the pictures of a camera that does not.
class MotionDetector {
 public:
  /// `frameSize` in pixels. Silhouettes of fewer than `minArea` pixels are noise.
  MotionDetector(cv::Size frameSize, int minArea);

  /// Learns the background from a picture (8-bit luma of the frame size) without looking for anything in it.
  void learn(const cv::Mat& luma);

  /// Learns from a picture and returns what moves in it, from left to right.
  std::vector<Silhouette> detect(const cv::Mat& luma);

 private:
  void subtractBackground(const cv::Mat& luma, double learningRate);

  cv::Ptr<cv::BackgroundSubtractorMOG2> background_;
  cv::Mat openKernel_;
  cv::Mat closeKernel_;
  int minArea_;
  cv::Mat smooth_;      ///< the picture without its finest noise
  cv::Mat foreground_;  ///< 255 where something moves
};

}  // namespace motion_producer
