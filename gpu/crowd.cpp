#include "crowd.h"

#include <cstdlib>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <stdexcept>
#include <string>

#include "class_color.h"
#include "mask_text.h"

namespace crowd {
namespace {

/// The text of an upright ellipse, about as much of a box as a person is.
std::string personMask() {
  constexpr int kSide = 160;
  std::vector<bool> inside;
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      const double dx = (2.0 * x + 1.0) / kSide - 1.0;
      const double dy = (2.0 * y + 1.0) / kSide - 1.0;
      inside.push_back(dx * dx + dy * dy <= 1.0);
    }
  }
  return scene::maskText(kSide, kSide, inside);
}

cv::Mat pixelsOf(const std::string& text) {
  const auto mask = seg_mask_overlay::decodeMaskText(text);
  if (!mask) throw std::logic_error("the benchmark's own mask text is not valid");
  cv::Mat pixels(mask->height, mask->width, CV_8UC1);
  for (std::size_t i = 0; i < pixels.total(); ++i) pixels.data[i] = mask->inside(i) ? 255 : 0;
  return pixels;
}

cv::Mat scaledToFrame(const cv::Mat& pixels) {
  cv::Mat mask;
  cv::resize(pixels, mask, {kWidth, kHeight}, 0, 0, cv::INTER_NEAREST);
  return mask;
}

/// `color` over the part of `plane` that `mask` covers.
void blend(cv::Mat plane, const cv::Mat& mask, const cv::Scalar& color, double alpha) {
  cv::Mat blended;
  cv::addWeighted(cv::Mat(plane.size(), plane.type(), color), alpha, plane, 1.0 - alpha, 0.0, blended);
  blended.copyTo(plane, mask);
}

void drawPerson(std::vector<uint8_t>& frame, const scene::Detection& person, double alpha) {
  const cv::Mat mask = scaledToFrame(pixelsOf(person.mask));
  const cv::Rect box(person.x, person.y, person.w, person.h);
  const cv::Rect half(box.x / 2, box.y / 2, box.width / 2, box.height / 2);
  cv::Mat touched;
  cv::resize(mask(box), touched, half.size(), 0, 0, cv::INTER_AREA);
  cv::Mat luma(kHeight, kWidth, CV_8UC1, frame.data());
  cv::Mat chroma(kHeight / 2, kWidth / 2, CV_8UC2, frame.data() + luma.total());
  const seg_mask_overlay::YuvColor color = seg_mask_overlay::classColor(person.class_id);
  blend(luma(box), mask(box), cv::Scalar(color.y), alpha);
  blend(chroma(half), touched, cv::Scalar(color.u, color.v), alpha);
}

}  // namespace

scene::Scene people(int count) {
  const std::string mask = personMask();
  std::vector<scene::Detection> detections;
  for (int i = 0; i < count; ++i) {
    scene::Detection person;
    person.x = i * 398 % (kWidth - 200);
    person.y = i * 212 % (kHeight - 400);
    person.w = 200;
    person.h = 400;
    person.class_id = i % 10;
    person.mask = mask;
    detections.push_back(person);
  }
  return scene::oneProducer(kWidth, kHeight, detections);
}

std::vector<uint8_t> frameMask() {
  const cv::Mat mask = scaledToFrame(pixelsOf(personMask()));
  return {mask.data, mask.data + mask.total()};
}

void drawByOpenCv(const scene::Scene& scene, std::vector<uint8_t>& frame) {
  for (const scene::Detection& person : scene.inputs[0].detections) {
    drawPerson(frame, person, static_cast<double>(scene.settings.alpha));
  }
}

// OpenCV rounds where we cut off after adding a half, and each overlap can add to that.
void requireAlike(const scene::Scene& scene, const std::vector<uint8_t>& ours,
                  const std::vector<uint8_t>& byOpenCv) {
  const int overlaps = static_cast<int>(scene.inputs[0].detections.size());
  for (std::size_t i = 0; i < ours.size(); ++i) {
    if (std::abs(ours[i] - byOpenCv[i]) > overlaps) throw std::runtime_error("OpenCV's frame is another one");
  }
}

}  // namespace crowd
