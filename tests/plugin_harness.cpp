#include "plugin_harness.h"

#include <stdexcept>
#include <utility>

#include "frame_check.h"
#include "golden_model.h"
#include "scene_payload.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/transfer.h"

namespace plugin_test {
namespace {

void check(cudaError_t error) {
  if (error != cudaSuccess) throw std::runtime_error(cudaGetErrorString(error));
}

RenderInput renderInput(const scene::Input& input) {
  RenderInput result;
  result.payload_type = kDetections;
  (input.by_name ? result.producer_name : result.producer_id) = input.producer;
  result.payload = scene::payloadOf(input.detections, input.form);
  result.uses_lookback = input.uses_lookback;
  return result;
}

std::vector<uint8_t> downloaded(const zelvo::ZelvoPicture& picture, cudaStream_t stream) {
  std::vector<uint8_t> bytes(scene::frameBytes(picture.width(), picture.height()));
  zelvo::download(picture, bytes.data(), stream);
  return bytes;
}

}  // namespace

const char kDetections[] = "detection.v1";

std::string pluginPath() {
  return SEG_MASK_PLUGIN_PATH;
}

bool deviceAvailable() {
  int count = 0;
  return cudaGetDeviceCount(&count) == cudaSuccess && count > 0;
}

std::string standardErrorOf(const std::function<void()>& action) {
  ::testing::internal::CaptureStderr();
  try {
    action();
  } catch (...) {
    ::testing::internal::GetCapturedStderr();
    throw;
  }
  return ::testing::internal::GetCapturedStderr();
}

PluginLibrary::PluginLibrary() : loader_(pluginPath()) {}

std::vector<std::string> PluginLibrary::classes() const {
  return loader_.getAvailableClasses<IRenderPlugin>();
}

PluginLibrary::Instance PluginLibrary::create() {
  return loader_.createUniqueInstance<IRenderPlugin>("SegMaskOverlayPlugin");
}

// Without order to the null stream: a test that holds this stream must see only what was queued on it.
Stream::Stream() {
  check(cudaStreamCreateWithFlags(&stream_, cudaStreamNonBlocking));
}

Stream::~Stream() {
  cudaStreamDestroy(stream_);
}

void Stream::synchronize() const {
  check(cudaStreamSynchronize(stream_));
}

Frame::Frame(const scene::Scene& scene, cudaStream_t stream) : Frame(scene) {
  stream_ = stream;
  context_.picture.source = std::make_shared<zelvo::ZelvoPicture>(scene.width, scene.height);
  zelvo::upload(*context_.picture.source, scene.frame.data(), stream_);
}

Frame::Frame(const scene::Scene& scene) {
  for (const std::string& key : scene.reported) {
    RenderProducerStatus status;
    status.payload_type = kDetections;
    status.producer_id = key;
    statuses_[kDetections].push_back(status);
  }
  for (const scene::Input& input : scene.inputs) inputs_[kDetections].push_back(renderInput(input));
  resolver_.resolve = [this](uint64_t frame_id, const SwAny& stored) {
    resolved_frames_.push_back(frame_id);
    return stored;
  };

  context_.frame_id = 1;
  context_.payload_resolver = &resolver_;
  context_.producer_statuses = &statuses_;
  context_.inputs = &inputs_;
  context_.picture.sourceId = 1;
  context_.picture.source = std::make_shared<zelvo::ZelvoPicture>();
  context_.picture.pool = std::make_shared<zelvo::ZelvoPicturePool>();
}

std::vector<uint8_t> Frame::pixels() const {
  return downloaded(*context_.picture.readable(), stream_);
}

std::vector<uint8_t> Frame::sourcePixels() const {
  return downloaded(*context_.picture.source, stream_);
}

Host::Host() : backend_(stream_.get()) {
  // The registries write one line when they fill. It must not turn up in what a test captures.
  SwAny::getConversionRules();
  RenderInit init;
  init.backend = &backend_;
  if (!plugin_->init(init)) throw std::runtime_error("the plug-in refused its backend");
}

void Host::configure(const scene::Settings& settings) {
  plugin_->setConfig("{\"alpha\": " + scene::exactNumber(static_cast<double>(settings.alpha)) +
                     ", \"min_score\": " + scene::exactNumber(static_cast<double>(settings.min_score)) +
                     ", \"max_overlay_dets\": " + std::to_string(settings.cap) + "}");
}

std::vector<uint8_t> Host::drawn(const scene::Scene& scene) {
  configure(scene.settings);
  Frame frame(scene, stream());
  render(frame);
  return frame.pixels();
}

void PluginTest::SetUp() {
  if (!deviceAvailable()) GTEST_SKIP() << "no CUDA device";
  host_.emplace();
}

void PluginTest::expectGolden(const scene::Scene& scene) {
  host().configure(scene.settings);
  Frame frame(scene, host().stream());
  host().render(frame);
  EXPECT_TRUE(sameFrame(scene, golden::expectedFrame(scene), frame.pixels()));
  EXPECT_TRUE(sameFrame(scene, scene.frame, frame.sourcePixels())) << "the source picture was drawn on";
}

}  // namespace plugin_test
