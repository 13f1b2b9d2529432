#include "bench/Drawing.h"

#include "test_support/scene_payload.h"

Drawing::Drawing(const scene::Scene& scene) {
  plugin_.init({&backend_});
  plugin_.setConfig("{\"max_overlay_dets\": " + std::to_string(scene.inputs[0].detections.size()) + "}");
  parts_.deliver("p", scene::payloadOf(scene.inputs[0].detections, scene::PayloadForm::object));
  parts_.ctx.frame_id = 1;
  parts_.show(scene.width, scene.height, scene.frame);
}
