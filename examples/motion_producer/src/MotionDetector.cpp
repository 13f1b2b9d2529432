#include "src/MotionDetector.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace motion_producer {
namespace {

/// Learning rates: the share of the background model that one picture replaces. -1 is the subtractor's own
/// choice, which gives all pictures so far the same weight. Detection learns slowly, so that a person who
/// stands still for some seconds does not become background.
constexpr double kLearnRate = -1;
constexpr double kDetectRate = 0.0005;
/// The most frequent values of a pixel count as its background until together they make up this share of the
/// pictures. Far below the default: the share that the default leaves to moving objects is too small for
/// people who stand still for a while.
constexpr double kBackgroundRatio = 0.5;
constexpr int kHistory = 500;  // frames; bounds the subtractor's own choice
constexpr double kVarThreshold =
    20.0;  // squared Mahalanobis distance; a little above the default against codec noise

/// An elliptic kernel whose dimensions are shares of the frame's height, because the gaps that opening and
/// closing have to bridge grow with the picture.
cv::Mat ellipse(cv::Size frameSize, double shareX, double shareY) {
  const auto dimension = [&](double share) {
    return std::max(3, static_cast<int>(std::lround(frameSize.height * share)) | 1);
  };
  return cv::getStructuringElement(cv::MORPH_ELLIPSE, {dimension(shareX), dimension(shareY)});
}

}  // namespace

MotionDetector::MotionDetector(cv::Size frameSize, int minArea)
    : background_(cv::createBackgroundSubtractorMOG2(kHistory, kVarThreshold, /*detectShadows=*/true)),
      openKernel_(ellipse(frameSize, 0.005, 0.005)),
      closeKernel_(ellipse(frameSize, 0.005, 0.021)),  // taller than wide: people split at belt and knees
      minArea_(minArea) {
  background_->setBackgroundRatio(kBackgroundRatio);
}

void MotionDetector::learn(const cv::Mat& luma) {
  subtractBackground(luma, kLearnRate);
}

std::vector<Silhouette> MotionDetector::detect(const cv::Mat& luma) {
  subtractBackground(luma, kDetectRate);
  cv::morphologyEx(foreground_, foreground_, cv::MORPH_OPEN, openKernel_);
  cv::morphologyEx(foreground_, foreground_, cv::MORPH_CLOSE, closeKernel_);

  cv::Mat labels;
  cv::Mat stats;
  cv::Mat centroids;
  const int count = cv::connectedComponentsWithStats(foreground_, labels, stats, centroids);
  std::vector<Silhouette> silhouettes;
  for (int label = 1; label < count; ++label) {  // 0 is the background
    const int* row = stats.ptr<int>(label);
    if (row[cv::CC_STAT_AREA] < minArea_) continue;
    const cv::Rect box(row[cv::CC_STAT_LEFT], row[cv::CC_STAT_TOP], row[cv::CC_STAT_WIDTH],
                       row[cv::CC_STAT_HEIGHT]);
    silhouettes.push_back({box, labels(box) == label});
  }
  std::sort(silhouettes.begin(), silhouettes.end(),
            [](const Silhouette& a, const Silhouette& b) { return a.box.x < b.box.x; });
  return silhouettes;
}

void MotionDetector::subtractBackground(const cv::Mat& luma, double learningRate) {
  cv::GaussianBlur(luma, smooth_, {3, 3}, 0);
  background_->apply(smooth_, foreground_, learningRate);
  cv::threshold(foreground_, foreground_, 200, 255, cv::THRESH_BINARY);  // shadows are marked 127
}

}  // namespace motion_producer
