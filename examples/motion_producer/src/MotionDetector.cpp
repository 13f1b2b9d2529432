#include "src/MotionDetector.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace motion_producer {
namespace {

// Shares of the background model that one picture replaces. While learning the subtractor's own choice, which
// weighs all pictures so far alike; slow once the background is known, or whoever stands still for some
// seconds would become part of it.
constexpr double kLearnRate = -1;
constexpr double kDetectRate = 0.0005;
// The share of all pictures in which what a pixel shows most often is its background. Far below the default,
// because people who stand for a while show for longer than the rest that it leaves.
constexpr double kBackgroundRatio = 0.5;
constexpr int kHistory = 500;  // frames; bounds the subtractor's own choice
constexpr double kVarThreshold =
    20.0;  // squared Mahalanobis distance; a little above the default against codec noise

/// A kernel of about `share` of the frame's height: what opening and closing have to bridge grows with the
/// picture.
cv::Mat ellipse(cv::Size frameSize, double shareX, double shareY) {
  const auto side = [&](double share) {
    return std::max(3, static_cast<int>(std::lround(frameSize.height * share)) | 1);
  };
  return cv::getStructuringElement(cv::MORPH_ELLIPSE, {side(shareX), side(shareY)});
}

}  // namespace

MotionDetector::MotionDetector(cv::Size frameSize, int minArea)
    : background_(cv::createBackgroundSubtractorMOG2(kHistory, kVarThreshold, /*detectShadows=*/true)),
      openKernel_(ellipse(frameSize, 0.005, 0.005)),
      closeKernel_(ellipse(frameSize, 0.005, 0.021)),  // taller than wide: people break at belt and knees
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
