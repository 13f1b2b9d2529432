#include "detection/detections.h"

#include <algorithm>
#include <utility>

#include "core/SwJsonArray.h"
#include "core/SwJsonValue.h"
#include "core/saturate.h"
#include "render_base/RenderContext.h"
#include "render_base/resolve_payload.h"

namespace seg_mask {
namespace {

int32_t readInt(const SwJsonValue& value) {
  switch (value.kind()) {
    case SwJsonValue::Kind::Int:
      return sw_number::lowBits(value.integer());
    case SwJsonValue::Kind::Bool:
      return value.boolean() ? 1 : 0;
    case SwJsonValue::Kind::Double:
      return sw_number::saturate<int32_t>(value.number());
    default:
      return 0;
  }
}

float readFloat(const SwJsonValue& value) {
  switch (value.kind()) {
    case SwJsonValue::Kind::Double:
      return sw_number::toSinglePrecision(value.number());
    case SwJsonValue::Kind::Int:
      return static_cast<float>(value.integer());
    case SwJsonValue::Kind::Bool:
      return value.boolean() ? 1.0F : 0.0F;
    default:
      return 0.0F;
  }
}

/// The text of the member: a String's own bytes, moved out of it, because they are many.
std::string takeText(SwJsonObject& object, const char* key) {
  SwJsonValue* value = object.find(key);
  if (!value) return SwJsonValue().toString();
  return value->isString() ? value->takeText() : value->toString();
}

DetView takeDetection(SwJsonObject& object) {
  DetView detection;
  detection.x = readInt(object["x"]);
  detection.y = readInt(object["y"]);
  detection.w = readInt(object["w"]);
  detection.h = readInt(object["h"]);
  detection.class_id = readInt(object["class_id"]);
  detection.score = readFloat(object["score"]);
  detection.class_info = takeText(object, "class_info");
  return detection;
}

bool isLookback(const RenderInput* input) {
  return input && input->uses_lookback;
}

}  // namespace

void collectDetections(SwJsonObject payload, std::size_t cap, std::vector<DetView>& list) {
  SwJsonValue* member = payload.find("detections");
  SwJsonArray* elements = member ? member->array() : nullptr;
  if (!elements) return;
  for (std::size_t i = 0; i < elements->size() && list.size() < cap; ++i) {
    if (SwJsonObject* object = elements->at(i).object()) list.push_back(takeDetection(*object));
  }
}

FrameDetections gatherDetections(const RenderContext& ctx, const RenderProducerTypeView& view,
                                 std::size_t cap) {
  FrameDetections frame;
  frame.detections.reserve(cap);
  for (const std::string& producer : view.producers) {
    if (frame.detections.size() >= cap) break;
    if (producer.empty()) continue;
    const auto found = view.inputsByProducer.find(producer);
    if (found == view.inputsByProducer.end()) {
      ++frame.missing;
      continue;
    }
    const std::vector<const RenderInput*>& inputs = found->second;
    if (std::any_of(inputs.begin(), inputs.end(), isLookback)) ++frame.lookback;
    const std::size_t before = frame.detections.size();
    for (const RenderInput* input : inputs) {
      if (input) collectDetections(render_base::resolvePayload(ctx, *input), cap, frame.detections);
    }
    if (frame.detections.size() == before) ++frame.missing;
  }
  return frame;
}

}  // namespace seg_mask
