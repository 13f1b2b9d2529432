#include "test_support/model/scene_frame.h"

#include <cstddef>
#include <limits>

#include "test_support/model/drawing.h"
#include "test_support/model/pixels.h"

namespace model {
namespace {

std::vector<uint8_t> drawn(const scene::Scene& scene, const std::vector<scene::Detection>& detections,
                           float min_score) {
  std::vector<uint8_t> frame = scene.frame;
  draw(planesOf(frame, scene.width, scene.height), drawableItems(detections, min_score),
       scene.settings.alpha);
  return frame;
}

}  // namespace

SceneRecords::SceneRecords(const scene::Scene& scene) : scene_(scene) {
  std::vector<RenderProducerStatus> reports;
  for (const std::string& producer : scene.reported) reports.emplace_back().producer_id = producer;
  for (const scene::Input& input : scene.inputs) {
    RenderInput& record = inputs_.emplace_back();
    (input.by_name ? record.producer_name : record.producer_id) = input.producer;
    record.uses_lookback = input.uses_lookback;
  }
  producers_ = producerView(reports, inputs_).producers;
}

const scene::Input& SceneRecords::inputOf(const RenderInput& record) const {
  return scene_.inputs[static_cast<std::size_t>(&record - inputs_.data())];
}

Gathering gather(const scene::Scene& scene) {
  const SceneRecords records(scene);
  return gather(records.producers(), scene.settings.cap, [&](const RenderInput& record) {
    const scene::Input& input = records.inputOf(record);
    return input.form == scene::PayloadForm::absent ? std::vector<scene::Detection>() : input.detections;
  });
}

std::vector<uint8_t> frameWith(const scene::Scene& scene, const std::vector<scene::Detection>& detections) {
  return drawn(scene, detections, -std::numeric_limits<float>::infinity());
}

std::vector<uint8_t> expectedFrame(const scene::Scene& scene) {
  return drawn(scene, gather(scene).detections, scene.settings.min_score);
}

}  // namespace model
