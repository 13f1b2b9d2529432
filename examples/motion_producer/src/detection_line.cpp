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
#include "mask/run_lengths.h"

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

SwJsonObject runLengths(const seg_mask::MaskBits& mask) {
  SwJsonArray size;
  size.append(SwJsonValue(mask.height));
  size.append(SwJsonValue(mask.width));
  SwJsonObject object;
  object.insert("size", SwJsonValue(std::move(size)));
  object.insert("counts", SwJsonValue(seg_mask::encodeCompressedRunLengths(mask)));
  return object;
}

void insertMask(SwJsonObject& detection, const cv::Mat& pixels, MaskForm form) {
  const seg_mask::MaskBits mask =
      seg_mask::packMask(pixels.data, pixels.cols, pixels.rows, static_cast<std::ptrdiff_t>(pixels.step));
  if (form == MaskForm::RunLengths) {
    detection.insert("mask", SwJsonValue(runLengths(mask)));
  } else {
    detection.insert("class_info", SwJsonValue(seg_mask::encodeMaskText(mask)));
  }
}

SwJsonObject detectionOf(const Silhouette& silhouette, const TrackedBox& tracked, cv::Size frameSize,
                         cv::Size maskSize, MaskForm form) {
  SwJsonObject detection;
  detection.insert("x", SwJsonValue(silhouette.box.x));
  detection.insert("y", SwJsonValue(silhouette.box.y));
  detection.insert("w", SwJsonValue(silhouette.box.width));
  detection.insert("h", SwJsonValue(silhouette.box.height));
  detection.insert("class_id", SwJsonValue(tracked.track));
  detection.insert("score", SwJsonValue(1.0 - 1.0 / (1.0 + tracked.sightings)));
  insertMask(detection, frameMask(silhouette, frameSize, maskSize), form);
  return detection;
}

}  // namespace

std::string detectionLine(uint64_t frame, const std::vector<Silhouette>& silhouettes,
                          const std::vector<TrackedBox>& tracked, cv::Size frameSize, cv::Size maskSize,
                          MaskForm form) {
  SwJsonArray detections;
  for (std::size_t i = 0; i < silhouettes.size(); ++i) {
    detections.append(SwJsonValue(detectionOf(silhouettes[i], tracked[i], frameSize, maskSize, form)));
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
