#include "src/produce.h"

#include <algorithm>
#include <memory>
#include <opencv2/core.hpp>
#include <optional>
#include <vector>

#include "io/OutputFile.h"
#include "io/StagedOutput.h"
#include "src/BoxTracker.h"
#include "src/MotionDetector.h"
#include "src/detection_line.h"
#include "video/FrameReader.h"

namespace motion_producer {
namespace {

/// The luma plane of a packed NV12 frame, without copying it.
cv::Mat lumaOf(segmask::Frame& frame, cv::Size size) {
  return cv::Mat(size, CV_8UC1, frame.nv12.data());
}

/// Trains the detector's background model before the first frame, with frames spread over the whole video:
/// people who move slowly are in different places in most of them. Where the video's length is unknown, the
/// frames come from its beginning.
void warmUp(MotionDetector& detector, const Options& options, cv::Size size) {
  if (options.warmUp == 0) return;
  const std::unique_ptr<segmask::FrameReader> reader = segmask::openFrameReader(options.input, std::nullopt);
  const auto wanted = static_cast<uint64_t>(options.warmUp);
  const uint64_t stride = std::max<uint64_t>(1, reader->frameCount().value_or(0) / wanted);
  segmask::Frame frame;
  for (uint64_t i = 0; i < wanted * stride && reader->next(frame); ++i) {
    if (i % stride == 0) detector.learn(lumaOf(frame, size));
  }
}

cv::Size maskSizeFor(cv::Size frame, int maskWidth) {
  const int width = std::min(maskWidth, frame.width);
  return {width, std::max(1, cvRound(static_cast<double>(frame.height) * width / frame.width))};
}

}  // namespace

Result produce(const Options& options) {
  const std::unique_ptr<segmask::FrameReader> reader = segmask::openFrameReader(options.input, std::nullopt);
  const cv::Size frameSize(reader->format().width, reader->format().height);
  const cv::Size maskSize = maskSizeFor(frameSize, options.maskWidth);
  segmask::StagedOutput staged(options.output);
  segmask::OutputFile lines(staged.path(), options.output);

  MotionDetector detector(frameSize, std::max(1, cvRound(options.minArea * frameSize.area())));
  warmUp(detector, options, frameSize);

  BoxTracker tracker;
  Result result;
  segmask::Frame frame;
  for (; reader->next(frame); ++result.frames) {
    const std::vector<Silhouette> silhouettes = detector.detect(lumaOf(frame, frameSize));
    std::vector<cv::Rect> boxes;
    boxes.reserve(silhouettes.size());
    for (const Silhouette& silhouette : silhouettes) boxes.push_back(silhouette.box);
    lines.write(detectionLine(result.frames, silhouettes, tracker.update(boxes), frameSize, maskSize,
                              options.maskForm));
    result.detections += silhouettes.size();
  }
  lines.close();
  staged.commit();
  return result;
}

}  // namespace motion_producer
