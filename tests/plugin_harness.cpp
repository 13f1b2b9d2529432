#include "plugin_harness.h"

#include <cstdio>
#include <stdexcept>
#include <utility>

#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
#include "core/SwJsonValue.h"
#include "frame_check.h"
#include "golden_model.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/transfer.h"

namespace plugin_test {
namespace {

void check(cudaError_t error) {
  if (error != cudaSuccess) throw std::runtime_error(cudaGetErrorString(error));
}

// Enough digits that reading the text gives the same number again.
std::string exactNumber(double number) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", number);
  return text;
}

std::string jsonString(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || c == '"' || c == '\\') {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
      out += escape;
    } else {
      out += c;
    }
  }
  return out + "\"";
}

std::string jsonText(const std::vector<scene::Detection>& detections) {
  std::string text = "{\"detections\": [";
  const char* separator = "";
  for (const scene::Detection& d : detections) {
    text += separator;
    text += "{\"x\": " + std::to_string(d.x) + ", \"y\": " + std::to_string(d.y) +
            ", \"w\": " + std::to_string(d.w) + ", \"h\": " + std::to_string(d.h) +
            ", \"class_id\": " + std::to_string(d.class_id) +
            ", \"score\": " + exactNumber(static_cast<double>(d.score)) +
            ", \"class_info\": " + jsonString(d.mask) + "}";
    separator = ", ";
  }
  return text + "]}";
}

SwJsonObject jsonObject(const std::vector<scene::Detection>& detections) {
  SwJsonArray array;
  for (const scene::Detection& d : detections) {
    SwJsonObject object;
    object.insert("x", d.x);
    object.insert("y", d.y);
    object.insert("w", d.w);
    object.insert("h", d.h);
    object.insert("class_id", d.class_id);
    object.insert("score", static_cast<double>(d.score));
    object.insert("class_info", d.mask);
    array.append(std::move(object));
  }
  SwJsonObject payload;
  payload.insert("detections", std::move(array));
  return payload;
}

RenderInput renderInput(const scene::Input& input) {
  RenderInput result;
  result.payload_type = kDetections;
  (input.by_name ? result.producer_name : result.producer_id) = input.producer;
  result.payload = payloadOf(input.detections, input.form);
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

SwAny payloadOf(const std::vector<scene::Detection>& detections, scene::PayloadForm form) {
  switch (form) {
    case scene::PayloadForm::object:
      return SwAny(jsonObject(detections));
    case scene::PayloadForm::text:
      return SwAny(jsonText(detections));
    case scene::PayloadForm::absent:
      break;
  }
  return SwAny();
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
  plugin_->setConfig("{\"alpha\": " + exactNumber(static_cast<double>(settings.alpha)) +
                     ", \"min_score\": " + exactNumber(static_cast<double>(settings.min_score)) +
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
