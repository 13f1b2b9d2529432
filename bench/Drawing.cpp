#include "Drawing.h"

#include <utility>

#include "detection/detections.h"
#include "scene_payload.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/transfer.h"

Drawing::Drawing(const scene::Scene& scene) {
  plugin_.init({&backend_});
  plugin_.setConfig("{\"max_overlay_dets\": " + std::to_string(scene.inputs[0].detections.size()) + "}");
  RenderInput input;
  input.payload_type = seg_mask::kDetectionType;
  input.producer_id = "p";
  input.payload = scene::payloadOf(scene.inputs[0].detections, scene::PayloadForm::object);
  inputs_[seg_mask::kDetectionType].push_back(std::move(input));
  context_.frame_id = 1;
  context_.payload_resolver = &resolver_;
  context_.producer_statuses = &statuses_;
  context_.inputs = &inputs_;
  context_.picture.sourceId = 1;
  context_.picture.source = std::make_shared<zelvo::ZelvoPicture>(scene.width, scene.height);
  context_.picture.pool = std::make_shared<zelvo::ZelvoPicturePool>();
  zelvo::upload(*context_.picture.source, scene.frame.data(), nullptr);
}

std::vector<uint8_t> Drawing::pixels() const {
  const std::shared_ptr<zelvo::ZelvoPicture> picture = context_.picture.readable();
  std::vector<uint8_t> bytes(zelvo::packedNv12Bytes(picture->width(), picture->height()));
  zelvo::download(*picture, bytes.data(), nullptr);
  return bytes;
}
