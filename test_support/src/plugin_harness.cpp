#include "test_support/plugin_harness.h"

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "test_support/StderrFile.h"
#include "test_support/frame_check.h"
#include "test_support/model/scene_frame.h"
#include "test_support/scene_payload.h"
#include "zelvo/ZelvoPicture.h"

namespace plugin_test {
namespace {

void deliver(FrameContext& parts, const scene::Input& input) {
  RenderInput& delivered = parts.deliver(input.producer, scene::payloadOf(input.detections, input.form));
  delivered.uses_lookback = input.uses_lookback;
  if (input.by_name) std::swap(delivered.producer_id, delivered.producer_name);
}

}  // namespace

std::string pluginPath() {
  const char* const path = std::getenv("SEG_MASK_PLUGIN");
  return path ? path : SEG_MASK_PLUGIN_PATH;
}

bool deviceAvailable() {
  int count = 0;
  return cudaGetDeviceCount(&count) == cudaSuccess && count > 0;
}

std::string standardErrorOf(const std::function<void()>& action) {
  const StderrFile written;
  action();
  return written.text();
}

PluginLibrary::PluginLibrary(PluginFile file) : file_(std::move(file)), loader_(file_.path) {}

std::vector<std::string> PluginLibrary::classes() const {
  return loader_.getAvailableClasses<IRenderPlugin>();
}

PluginLibrary::Instance PluginLibrary::create() {
  return loader_.createUniqueInstance<IRenderPlugin>(file_.class_name);
}

Frame::Frame(const scene::Scene& scene, cudaStream_t stream) : Frame(scene) {
  stream_ = stream;
  parts_.show(scene.width, scene.height, scene.frame, stream);
}

Frame::Frame(const scene::Scene& scene) {
  for (const std::string& key : scene.reported) parts_.report(key);
  for (const scene::Input& input : scene.inputs) deliver(parts_, input);
  parts_.ctx.frame_id = 1;
  parts_.show(std::make_shared<zelvo::ZelvoPicture>());
}

Host::Host(PluginFile file) : backend_(stream_.get()), plugin_(std::move(file)) {
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
  EXPECT_TRUE(sameFrame(scene, model::expectedFrame(scene), frame.pixels()));
  EXPECT_TRUE(sameFrame(scene, scene.frame, frame.sourcePixels())) << "the source picture was drawn on";
}

}  // namespace plugin_test
