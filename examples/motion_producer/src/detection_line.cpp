#include "src/detection_line.h"

#include <core/SwJsonArray.h>
#include <core/SwJsonDocument.h>
#include <core/SwJsonObject.h>
#include <core/SwJsonValue.h>
#include <core/SwString.h>

#include <cstddef>
#include <opencv2/imgproc.hpp>
#include <utility>

#include "mask/mask_text.h"

namespace motion_producer {
namespace {

/// The silhouette's mask for the whole frame, reduced to `maskSize`. A reduced pixel is inside when at least
/// half of its area is.
cv::Mat frameMask(const Silhouette& silhouette, cv::Size frameSize, cv::Size maskSize) {
  cv::Mat whole = cv::Mat::zeros(frameSize, CV_8UC1);
  silhouette.mask.copyTo(whole(silhouette.box));
  cv::Mat reduced;
  cv::resize(whole, reduced, maskSize, 0, 0, cv::INTER_AREA);
  return reduced > 127;
}

std::string maskText(const cv::Mat& mask) {
  return seg_mask::encodeMaskText(
      seg_mask::packMask(mask.data, mask.cols, mask.rows, static_cast<std::ptrdiff_t>(mask.step)));
}

SwJsonObject detectionOf(const Silhouette& silhouette, const TrackedBox& tracked, cv::Size frameSize,
                         cv::Size maskSize) {
  SwJsonObject detection;
  detection.insert("x", SwJsonValue(silhouette.box.x));
  detection.insert("y", SwJsonValue(silhouette.box.y));
  detection.insert("w", SwJsonValue(silhouette.box.width));
  detection.insert("h", SwJsonValue(silhouette.box.height));
  detection.insert("class_id", SwJsonValue(tracked.track));
  detection.insert("score", SwJsonValue(1.0 - 1.0 / (1.0 + tracked.sightings)));
  detection.insert("class_info", SwJsonValue(maskText(frameMask(silhouette, frameSize, maskSize))));
  return detection;
}

}  // namespace

std::string detectionLine(uint64_t frame, const std::vector<Silhouette>& silhouettes,
                          const std::vector<TrackedBox>& tracked, cv::Size frameSize, cv::Size maskSize) {
  SwJsonArray detections;
  for (std::size_t i = 0; i < silhouettes.size(); ++i) {
    detections.append(SwJsonValue(detectionOf(silhouettes[i], tracked[i], frameSize, maskSize)));
  }
  SwJsonObject line;
  line.insert("frame", SwJsonValue(static_cast<int64_t>(frame)));
  line.insert("producer", SwJsonValue("motion"));
  line.insert("detections", SwJsonValue(std::move(detections)));
  SwString text;
  SwJsonDocument().generateJson(SwJsonValue(std::move(line)), text, false, 0, SwString());
  return text.str() + "\n";
}

}  // namespace motion_producer
