#include "gpu/crowd.h"

#include <cstdlib>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

#include "detection/class_color.h"
#include "test_support/scalar_base64.h"
#include "test_support/scalar_frame_mask.h"

namespace crowd {
namespace {

/// The text of an upright ellipse, about as much of a box as a person is.
std::string personMask() {
  std::vector<bool> inside;
  for (int y = 0; y < kMaskSide; ++y) {
    for (int x = 0; x < kMaskSide; ++x) {
      const double dx = (2.0 * x + 1.0) / kMaskSide - 1.0;
      const double dy = (2.0 * y + 1.0) / kMaskSide - 1.0;
      inside.push_back(dx * dx + dy * dy <= 1.0);
    }
  }
  return scene::maskText(kMaskSide, kMaskSide, inside);
}

/// A person's mask, decoded and scaled to the frame as one would write it.
cv::Mat scaledToFrame(const std::string& text, const scene::Scene& scene) {
  const std::string_view data = std::string_view(text).substr(text.rfind('|') + 1);
  const seg_mask::MaskBits bits{kMaskSide, kMaskSide,
                                seg_mask::scalarDecodeBase64(data, kMaskSide * kMaskSide / 8)};
  return seg_mask::scalarFrameMask(bits, scene.width, scene.height);
}

/// `color` over the part of `plane` that `mask` covers.
void blend(cv::Mat plane, const cv::Mat& mask, const cv::Scalar& color, double alpha) {
  cv::Mat blended;
  cv::addWeighted(cv::Mat(plane.size(), plane.type(), color), alpha, plane, 1.0 - alpha, 0.0, blended);
  blended.copyTo(plane, mask);
}

void drawPerson(std::vector<uint8_t>& frame, const scene::Scene& scene, const scene::Detection& person) {
  const auto alpha = static_cast<double>(scene.settings.alpha);
  const cv::Mat mask = scaledToFrame(person.mask, scene);
  const cv::Rect box(person.x, person.y, person.w, person.h);
  const cv::Rect half(box.x / 2, box.y / 2, box.width / 2, box.height / 2);
  cv::Mat touched;
  cv::resize(mask(box), touched, half.size(), 0, 0, cv::INTER_AREA);
  cv::Mat luma(scene.height, scene.width, CV_8UC1, frame.data());
  cv::Mat chroma(scene.height / 2, scene.width / 2, CV_8UC2, frame.data() + luma.total());
  const seg_mask::YuvColor color = seg_mask::classColor(person.class_id);
  blend(luma(box), mask(box), cv::Scalar(color.y), alpha);
  blend(chroma(half), touched, cv::Scalar(color.u, color.v), alpha);
}

}  // namespace

scene::Scene people(int count, int width, int height) {
  const std::string mask = personMask();
  const auto even = [](int number) { return number / 2 * 2; };
  std::vector<scene::Detection> detections;
  for (int i = 0; i < count; ++i) {
    scene::Detection person;
    person.w = even(200 * width / kWidth);
    person.h = even(400 * height / kHeight);
    person.x = even(i * 398 % (width - person.w));
    person.y = even(i * 212 % (height - person.h));
    person.class_id = i % 10;
    person.mask = mask;
    detections.push_back(person);
  }
  return scene::oneProducer(width, height, detections);
}

std::vector<uint8_t> frameMask(const scene::Scene& scene) {
  const cv::Mat mask = scaledToFrame(scene.inputs[0].detections.at(0).mask, scene);
  return {mask.data, mask.data + mask.total()};
}

void drawByOpenCv(const scene::Scene& scene, std::vector<uint8_t>& frame) {
  for (const scene::Detection& person : scene.inputs[0].detections) drawPerson(frame, scene, person);
}

// OpenCV rounds where we cut off after adding a half. Each overlap keeps 0.55 of a difference of 1 and can
// add another, so it stays below 1 / (1 - 0.55).
void requireAlike(const std::vector<uint8_t>& ours, const std::vector<uint8_t>& byOpenCv) {
  for (std::size_t i = 0; i < ours.size(); ++i) {
    if (std::abs(ours[i] - byOpenCv[i]) > 2) throw std::runtime_error("OpenCV's frame is another one");
  }
}

}  // namespace crowd
