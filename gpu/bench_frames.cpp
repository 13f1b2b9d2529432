// What a frame costs with the plug-in, loaded as hosts load it, beside the way that OpenCV's users would go:
// the frame to the host, each mask scaled and blended there, and the frame back.

#include <chrono>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "gpu/DeviceBytes.h"
#include "gpu/crowd.h"
#include "gpu/report.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/transfer.h"

namespace {

constexpr int kSkipped = 77;
constexpr int kRepetitions = 15;

/// A host: the plug-in with a stream, and pictures that are used again.
class Bench {
 public:
  explicit Bench(int people)
      : scene_(crowd::people(people)), pool_(std::make_shared<zelvo::ZelvoPicturePool>()) {
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
    crowd::drawByOpenCv(scene_, bytes);
    zelvo::upload(*picture, bytes.data(), host_.stream());
    const double time = since(begin);
    result_ = frame->pixels();
    return time;
  }

  /// The uploads that a frame needs, and nothing else: no frame is faster.
  double uploadMasks() {
    const std::size_t bytes = static_cast<std::size_t>(crowd::kWidth) * crowd::kHeight;
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
  std::vector<uint8_t> hostMask_ =
      std::vector<uint8_t>(static_cast<std::size_t>(crowd::kWidth) * crowd::kHeight, 255);
  gpu_check::DeviceBytes deviceMask_{hostMask_.size()};
};

void measure(int people) {
  Bench bench(people);
  bench.render();
  const std::vector<uint8_t> ours = bench.result();
  bench.renderByOpenCv();
  crowd::requireAlike(ours, bench.result());

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
    std::fprintf(stderr, "bench_frames: %s\n", error.what());
    return 1;
  }
}
