// What a frame costs with the plug-in on the CPU device, from the payload's tree to the drawn frame, beside
// the floor that its contract sets and beside the way that OpenCV's users would go.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "bench/Drawing.h"
#include "blend/host_blend.h"
#include "detection/class_color.h"
#include "gpu/crowd.h"

namespace {

using render_base::LumaRect;

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
  const std::vector<uint8_t> mask = crowd::frameMask(scene);
  for (auto _ : state) {
    for (const scene::Detection& person : scene.inputs[0].detections) {
      std::memset(filled.data(), 255, filled.size());
      benchmark::ClobberMemory();
      std::memcpy(copied.data(), filled.data(), filled.size());
      benchmark::ClobberMemory();
      const LumaRect box{person.x, person.y, person.x + person.w - 1, person.y + person.h - 1};
      const seg_mask::YuvColor color = seg_mask::classColor(person.class_id);
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
  crowd::requireAlike(drawing.pixels(), byOpenCv);
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
