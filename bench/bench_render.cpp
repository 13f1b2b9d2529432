// What a frame costs with the plug-in on the CPU device, from the payload's tree to the drawn frame, beside
// the floor that its contract sets and beside the way that OpenCV's users would go. The picture is mapped
// already, as for every pass of a frame but the first.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "class_color.h"
#include "core/SwAny.h"
#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
#include "core/SwJsonValue.h"
#include "crowd.h"
#include "detections.h"
#include "host_blend.h"
#include "render_base/RenderContext.h"
#include "seg_mask_overlay/SegMaskOverlayPlugin.h"
#include "zelvo/DeviceRenderBackend.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/transfer.h"

namespace {

using seg_mask_overlay::LumaRect;

SwAny payloadOf(const scene::Scene& scene) {
  SwJsonArray detections;
  for (const scene::Detection& person : scene.inputs[0].detections) {
    SwJsonObject members;
    members.insert("x", person.x);
    members.insert("y", person.y);
    members.insert("w", person.w);
    members.insert("h", person.h);
    members.insert("class_id", person.class_id);
    members.insert("score", static_cast<double>(person.score));
    members.insert("class_info", person.mask);
    detections.append(std::move(members));
  }
  SwJsonObject payload;
  payload.insert("detections", std::move(detections));
  return payload;
}

/// The plug-in and one frame of the scene, on the default stream.
class Drawing {
 public:
  explicit Drawing(const scene::Scene& scene) {
    plugin_.init({&backend_});
    RenderInput input;
    input.payload_type = seg_mask_overlay::kDetectionType;
    input.producer_id = "p";
    input.payload = payloadOf(scene);
    inputs_[seg_mask_overlay::kDetectionType].push_back(std::move(input));
    context_.frame_id = 1;
    context_.payload_resolver = &resolver_;
    context_.producer_statuses = &statuses_;
    context_.inputs = &inputs_;
    context_.picture.sourceId = 1;
    context_.picture.source = std::make_shared<zelvo::ZelvoPicture>(scene.width, scene.height);
    context_.picture.pool = std::make_shared<zelvo::ZelvoPicturePool>();
    zelvo::upload(*context_.picture.source, scene.frame.data(), nullptr);
  }

  void render() { plugin_.render(context_); }

  std::vector<uint8_t> pixels() const {
    const std::shared_ptr<zelvo::ZelvoPicture> picture = context_.picture.readable();
    std::vector<uint8_t> bytes(zelvo::packedNv12Bytes(picture->width(), picture->height()));
    zelvo::download(*picture, bytes.data(), nullptr);
    return bytes;
  }

 private:
  zelvo::DeviceRenderBackend backend_{nullptr};
  SegMaskOverlayPlugin plugin_;
  std::unordered_map<std::string, std::vector<RenderProducerStatus>> statuses_;
  std::unordered_map<std::string, std::vector<RenderInput>> inputs_;
  RenderPayloadResolver resolver_{[](uint64_t, const SwAny& stored) { return stored; }};
  RenderContext context_;  // its guard goes before the backend
};

void renderScene(benchmark::State& state, const scene::Scene& scene) {
  Drawing drawing(scene);
  drawing.render();
  for (auto _ : state) drawing.render();
}

void drawByOpenCv(benchmark::State& state, const scene::Scene& scene) {
  std::vector<uint8_t> frame = scene.frame;
  for (auto _ : state) crowd::drawByOpenCv(scene, frame);
}

/// For each item: a mask is filled and copied, and its box is blended under the mask that the item has.
void floorOfScene(benchmark::State& state, const scene::Scene& scene) {
  constexpr std::size_t kPixels = std::size_t{crowd::kWidth} * crowd::kHeight;
  std::vector<uint8_t> frame = scene.frame;
  std::vector<uint8_t> filled(kPixels);
  std::vector<uint8_t> copied(kPixels);
  const std::vector<uint8_t> mask = crowd::frameMask();
  for (auto _ : state) {
    for (const scene::Detection& person : scene.inputs[0].detections) {
      std::memset(filled.data(), 255, filled.size());
      benchmark::ClobberMemory();
      std::memcpy(copied.data(), filled.data(), filled.size());
      benchmark::ClobberMemory();
      const LumaRect box{person.x, person.y, person.x + person.w - 1, person.y + person.h - 1};
      const seg_mask_overlay::YuvColor color = seg_mask_overlay::classColor(person.class_id);
      seg_mask_overlay::blendLuma(frame.data(), crowd::kWidth, mask.data(), crowd::kWidth, box, color.y,
                                  scene.settings.alpha);
      seg_mask_overlay::blendChroma(frame.data() + kPixels, crowd::kWidth, mask.data(), crowd::kWidth,
                                    seg_mask_overlay::chromaRect(box), color.u, color.v,
                                    scene.settings.alpha);
    }
  }
}

void requireSameResult(const scene::Scene& scene) {
  Drawing drawing(scene);
  drawing.render();
  std::vector<uint8_t> byOpenCv = scene.frame;
  crowd::drawByOpenCv(scene, byOpenCv);
  crowd::requireAlike(scene, drawing.pixels(), byOpenCv);
}

}  // namespace

int main(int argc, char** argv) {
  cv::setNumThreads(1);
  for (const int count : {1, 10, 30, 100}) {
    const scene::Scene scene = crowd::people(count);
    requireSameResult(scene);
    const std::string name = "render/" + std::to_string(count);
    benchmark::RegisterBenchmark((name + "/floor").c_str(), floorOfScene, scene);
    benchmark::RegisterBenchmark((name + "/ours").c_str(), renderScene, scene);
    benchmark::RegisterBenchmark((name + "/OpenCV").c_str(), drawByOpenCv, scene);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
