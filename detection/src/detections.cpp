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

/// The text of the member. A String's bytes are moved out of the object, because a mask text is large.
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

/// The producer's inputs; none where it delivered none.
const std::vector<const RenderInput*>& inputsOf(const RenderProducerTypeView& view,
                                                const std::string& producer) {
  static const std::vector<const RenderInput*> none;
  const auto found = view.inputsByProducer.find(producer);
  return found == view.inputsByProducer.end() ? none : found->second;
}

void readInput(const RenderContext& ctx, const RenderInput& input, std::size_t cap,
               std::vector<DetView>& list, std::vector<InputOutcomes>* outcomes) {
  if (outcomes) outcomes->push_back({&input, {}});
  collectDetections(render_base::resolvePayload(ctx, input), cap, list,
                    outcomes ? &outcomes->back().outcomes : nullptr);
}

}  // namespace

void collectDetections(SwJsonObject payload, std::size_t cap, std::vector<DetView>& list,
                       std::vector<Outcome>* outcomes) {
  SwJsonValue* member = payload.find("detections");
  SwJsonArray* elements = member ? member->array() : nullptr;
  if (!elements) return;
  for (std::size_t i = 0; i < elements->size() && (outcomes || list.size() < cap); ++i) {
    SwJsonObject* object = elements->at(i).object();
    const Outcome outcome = !object             ? Outcome::NotAnObject
                            : list.size() < cap ? Outcome::Drawn
                                                : Outcome::OverCap;
    if (outcome == Outcome::Drawn) list.push_back(takeDetection(*object));
    if (outcomes) outcomes->push_back(outcome);
  }
}

FrameDetections gatherDetections(const RenderContext& ctx, const RenderProducerTypeView& view,
                                 std::size_t cap, std::vector<InputOutcomes>* outcomes) {
  FrameDetections frame;
  frame.detections.reserve(cap);
  for (const std::string& producer : view.producers) {
    const bool full = frame.detections.size() >= cap;
    if (full && !outcomes) break;
    if (producer.empty()) continue;
    const std::vector<const RenderInput*>& inputs = inputsOf(view, producer);
    const std::size_t before = frame.detections.size();
    for (const RenderInput* input : inputs) {
      if (input) readInput(ctx, *input, cap, frame.detections, outcomes);
    }
    if (full) continue;  // read only for the outcomes
    if (std::any_of(inputs.begin(), inputs.end(), isLookback)) ++frame.lookback;
    if (frame.detections.size() == before) ++frame.missing;
  }
  return frame;
}

}  // namespace seg_mask
