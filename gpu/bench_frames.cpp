// What a frame costs with the plug-in, loaded as hosts load it, beside the way that OpenCV's users would go:
// the frame to the host, each mask scaled and blended there, and the frame back. SEG_MASK_PLUGIN names the
// plug-in's file where it is not the usual one.

#include <algorithm>
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
#include "mask/mask_bits.h"
#include "src/FramePacker.h"
#include "test_support/overlay_facts.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/transfer.h"

namespace {

constexpr int kSkipped = 77;
constexpr int kRepetitions = 15;

/// Bytes that drawing the scene in one pass uploads, whatever its masks show.
std::size_t packedBytes(const scene::Scene& scene) {
  constexpr auto kSide = static_cast<std::size_t>(crowd::kMaskSide);
  const seg_mask::MaskBits mask{crowd::kMaskSide, crowd::kMaskSide, std::vector<uint8_t>(kSide * kSide / 8)};
  std::vector<seg_mask::OverlayItem> items;
  for (const scene::Detection& person : scene.inputs[0].detections)
    items.push_back({mask, {person.x, person.y, person.w, person.h}, {}});
  const IRenderBackend::MappedPlanes planes;
  return seg_mask_overlay::FramePacker().plan({planes, {scene.width, scene.height}}, items, 1.0F);
}

/// Host memory that the device reads by itself.
class PinnedBytes {
 public:
  explicit PinnedBytes(std::size_t size) {
    gpu_check::require(cudaHostAlloc(&address_, size, cudaHostAllocDefault), "cudaHostAlloc");
  }
  ~PinnedBytes() { cudaFreeHost(address_); }
  PinnedBytes(const PinnedBytes&) = delete;
  PinnedBytes& operator=(const PinnedBytes&) = delete;

  const void* get() const { return address_; }

 private:
  void* address_ = nullptr;
};

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

  /// The uploads that a frame needs, from memory such as the plug-in takes, and nothing else: no frame is
  /// faster.
  double upload() {
    const unsigned uploads = plugin_test::overlayFacts().uploads(detections());
    const bool packed = onePass();
    const void* const from = packed ? packed_.get() : hostMask_.data();
    const std::size_t bytes = packed ? packedBytes_ : hostMask_.size();
    const auto begin = std::chrono::steady_clock::now();
    for (unsigned i = 0; i < uploads; ++i) {
      gpu_check::require(
          cudaMemcpyAsync(deviceMemory_.get(), from, bytes, cudaMemcpyHostToDevice, host_.stream()),
          "uploading");
    }
    synchronize();
    return since(begin);
  }

  static bool onePass() { return !plugin_test::overlayFacts().draws_one_by_one; }

  /// What upload() uploads.
  std::size_t uploadedBytes() const { return onePass() ? packedBytes_ : hostMask_.size() * detections(); }

  const std::vector<uint8_t>& result() const { return result_; }

 private:
  unsigned detections() const { return static_cast<unsigned>(scene_.inputs[0].detections.size()); }

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
  const std::size_t packedBytes_ = packedBytes(scene_);
  PinnedBytes packed_{packedBytes_};
  gpu_check::DeviceBytes deviceMemory_{std::max(hostMask_.size(), packedBytes_)};
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
    uploads.push_back(bench.upload());
  }
  const double figure = gpu_check::median(drawn);
  const std::string name = std::string("a frame of 1920x1080") + (Bench::onePass() ? " in one pass" : "") +
                           ", detections: " + std::to_string(people);
  const std::string upload = "uploading its " + std::to_string(bench.uploadedBytes()) + " bytes";
  gpu_check::printRow(name, figure, upload, gpu_check::median(uploads));
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
