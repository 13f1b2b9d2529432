// What a frame costs with the plug-in, loaded as hosts load it, beside the way that OpenCV's users would go:
// the frame to the host, each mask scaled and blended there, and the frame back.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "DeviceBytes.h"
#include "class_color.h"
#include "mask_text.h"
#include "plugin_harness.h"
#include "report.h"
#include "scene.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/transfer.h"

namespace {

constexpr int kSkipped = 77;
constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kRepetitions = 15;

/// The text of an upright ellipse, about as much of a box as a person is.
std::string personMask(int width, int height) {
  std::vector<bool> inside;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double dx = (2.0 * x + 1.0) / width - 1.0;
      const double dy = (2.0 * y + 1.0) / height - 1.0;
      inside.push_back(dx * dx + dy * dy <= 1.0);
    }
  }
  return scene::maskText(width, height, inside);
}

/// That many people of 200x400, spread over a full HD frame.
scene::Scene crowd(int people) {
  std::vector<scene::Detection> detections;
  for (int i = 0; i < people; ++i) {
    scene::Detection person;
    person.x = i * 398 % (kWidth - 200);
    person.y = i * 212 % (kHeight - 400);
    person.w = 200;
    person.h = 400;
    person.class_id = i % 10;
    person.mask = personMask(160, 160);
    detections.push_back(person);
  }
  return scene::oneProducer(kWidth, kHeight, detections);
}

cv::Mat pixelsOf(const std::string& text) {
  const auto mask = seg_mask_overlay::decodeMaskText(text);
  if (!mask) throw std::logic_error("the benchmark's own mask text is not valid");
  cv::Mat pixels(mask->height, mask->width, CV_8UC1);
  for (std::size_t i = 0; i < pixels.total(); ++i) pixels.data[i] = mask->inside(i) ? 255 : 0;
  return pixels;
}

/// `color` over the part of `plane` that `mask` covers, by OpenCV.
void blendByOpenCv(cv::Mat plane, const cv::Mat& mask, const cv::Scalar& color, double alpha) {
  cv::Mat blended;
  cv::addWeighted(cv::Mat(plane.size(), plane.type(), color), alpha, plane, 1.0 - alpha, 0.0, blended);
  blended.copyTo(plane, mask);
}

/// One detection in a packed frame. Boxes lie within the frame, at even places.
void drawByOpenCv(std::vector<uint8_t>& frame, const scene::Detection& detection, double alpha) {
  cv::Mat mask;
  cv::resize(pixelsOf(detection.mask), mask, {kWidth, kHeight}, 0, 0, cv::INTER_NEAREST);
  const cv::Rect box(detection.x, detection.y, detection.w, detection.h);
  const cv::Rect half(box.x / 2, box.y / 2, box.width / 2, box.height / 2);
  cv::Mat touched;
  cv::resize(mask(box), touched, half.size(), 0, 0, cv::INTER_AREA);
  cv::Mat luma(kHeight, kWidth, CV_8UC1, frame.data());
  cv::Mat chroma(kHeight / 2, kWidth / 2, CV_8UC2, frame.data() + luma.total());
  const seg_mask_overlay::YuvColor color = seg_mask_overlay::classColor(detection.class_id);
  blendByOpenCv(luma(box), mask(box), cv::Scalar(color.y), alpha);
  blendByOpenCv(chroma(half), touched, cv::Scalar(color.u, color.v), alpha);
}

/// A host: the plug-in with a stream, and pictures that are used again.
class Bench {
 public:
  explicit Bench(int people) : scene_(crowd(people)), pool_(std::make_shared<zelvo::ZelvoPicturePool>()) {
    host_.configure(scene_.settings);
  }

  struct Times {
    double call;   ///< microseconds until render returned
    double drawn;  ///< microseconds until the frame was drawn
  };

  Times render() {
    const auto frame = freshFrame();
    const auto begin = std::chrono::steady_clock::now();
    host_.render(*frame);
    const double call = since(begin);
    synchronize();
    const Times times{call, since(begin)};
    result_ = frame->pixels();
    return times;
  }

  double renderByOpenCv() {
    std::vector<uint8_t> bytes(scene_.frame.size());
    const auto frame = freshFrame();
    const auto begin = std::chrono::steady_clock::now();
    const auto picture = frame->context().picture.ensureWritablePicShared();
    zelvo::download(*picture, bytes.data(), host_.stream());
    for (const scene::Detection& detection : scene_.inputs[0].detections) {
      drawByOpenCv(bytes, detection, static_cast<double>(scene_.settings.alpha));
    }
    zelvo::upload(*picture, bytes.data(), host_.stream());
    const double time = since(begin);
    result_ = frame->pixels();
    return time;
  }

  /// The uploads that a frame needs, and nothing else: no frame is faster.
  double uploadMasks() {
    const std::size_t bytes = static_cast<std::size_t>(kWidth) * kHeight;
    const auto begin = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < scene_.inputs[0].detections.size(); ++i) {
      gpu_check::require(
          cudaMemcpyAsync(deviceMask_.get(), hostMask_.data(), bytes, cudaMemcpyHostToDevice, host_.stream()),
          "uploading a mask");
    }
    synchronize();
    return since(begin);
  }

  const std::vector<uint8_t>& result() const { return result_; }

 private:
  static double since(std::chrono::steady_clock::time_point begin) {
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
  }

  void synchronize() const {
    gpu_check::require(cudaStreamSynchronize(host_.stream()), "waiting for the stream");
  }

  std::unique_ptr<plugin_test::Frame> freshFrame() {
    auto frame = std::make_unique<plugin_test::Frame>(scene_, host_.stream());
    frame->context().picture.pool = pool_;
    return frame;
  }

  scene::Scene scene_;
  plugin_test::Host host_;
  std::shared_ptr<zelvo::ZelvoPicturePool> pool_;
  std::vector<uint8_t> result_;
  std::vector<uint8_t> hostMask_ = std::vector<uint8_t>(static_cast<std::size_t>(kWidth) * kHeight, 255);
  gpu_check::DeviceBytes deviceMask_{hostMask_.size()};
};

/// OpenCV rounds where we cut off after adding a half. Each overlap keeps 0.55 of a difference of 1 and can
/// add another, so it stays below 1 / (1 - 0.55).
void requireAlike(const std::vector<uint8_t>& ours, const std::vector<uint8_t>& theirs) {
  for (std::size_t i = 0; i < ours.size(); ++i) {
    if (std::abs(ours[i] - theirs[i]) > 2) throw std::runtime_error("OpenCV's frame is another one");
  }
}

void measure(int people) {
  Bench bench(people);
  bench.render();
  const std::vector<uint8_t> ours = bench.result();
  bench.renderByOpenCv();
  requireAlike(ours, bench.result());

  std::vector<double> calls;
  std::vector<double> drawn;
  std::vector<double> byOpenCv;
  std::vector<double> uploads;
  for (int i = 0; i < kRepetitions; ++i) {
    const Bench::Times times = bench.render();
    calls.push_back(times.call);
    drawn.push_back(times.drawn);
    byOpenCv.push_back(bench.renderByOpenCv());
    uploads.push_back(bench.uploadMasks());
  }
  const double figure = gpu_check::median(drawn);
  const std::string name = "a frame of 1920x1080, detections: " + std::to_string(people);
  gpu_check::printRow(name, figure, "uploading its masks", gpu_check::median(uploads));
  gpu_check::printRow(name, figure, "until render returns", gpu_check::median(calls));
  gpu_check::printRow(name, figure, "OpenCV on the host", gpu_check::median(byOpenCv));
}

}  // namespace

int main(int argc, char** argv) {
  if (!gpu_check::noArguments(argc, argv)) return 2;
  if (!plugin_test::deviceAvailable()) {
    std::printf("skipped: no CUDA device\n");
    return kSkipped;
  }
  try {
    cv::setNumThreads(1);
    for (const int people : {1, 10, 30, 100}) measure(people);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_render: %s\n", error.what());
    return 1;
  }
}
