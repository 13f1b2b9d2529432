#pragma once

#include <opencv2/core.hpp>
#include <opencv2/video/background_segm.hpp>
#include <vector>

namespace motion_producer {

/// An object that moves in front of the still background.
struct Silhouette {
  cv::Rect box;  ///< in frame pixels
  cv::Mat mask;  ///< 8-bit, as large as the box: 255 inside
};

/// Finds moving objects in the pictures of a fixed camera.
class MotionDetector {
 public:
  /// `frameSize` in pixels. Silhouettes of fewer than `minArea` pixels are ignored as noise.
  MotionDetector(cv::Size frameSize, int minArea);

  /// Updates the background model with a picture (8-bit luma of the frame size), without detection.
  void learn(const cv::Mat& luma);

  /// Updates the model with a picture and returns the moving objects in it, from left to right.
  std::vector<Silhouette> detect(const cv::Mat& luma);

 private:
  void subtractBackground(const cv::Mat& luma, double learningRate);

  cv::Ptr<cv::BackgroundSubtractorMOG2> background_;
  cv::Mat openKernel_;
  cv::Mat closeKernel_;
  int minArea_;
  cv::Mat smooth_;      ///< the picture, smoothed against noise
  cv::Mat foreground_;  ///< 255 for the pixels of moving objects
};

}  // namespace motion_producer
