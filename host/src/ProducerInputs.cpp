#include "host/ProducerInputs.h"

#include <utility>

#include "core/SwAny.h"
#include "detection/detections.h"

namespace segmask {
namespace {

/// Returns the payload as it is stored: the registered conversions can read it. The frame number is not used.
SwAny resolvePayload(uint64_t, const SwAny& stored) {
  return stored;
}

RenderInput makeInput(const std::string& producer, uint64_t frame, const DetectionPayload& payload,
                      bool lookedBack) {
  RenderInput input;
  input.payload_type = seg_mask::kDetectionType;
  input.producer_name = producer;
  input.producer_id = producer;
  input.payload = SwAny::from(payload);
  // For frame 0 this means "not set", and the context's frame number is used; the resolver ignores it.
  input.frame_id = frame;
  input.uses_lookback = lookedBack;
  return input;
}

RenderProducerStatus makeStatus(const std::string& producer, int32_t code) {
  RenderProducerStatus status;
  status.payload_type = seg_mask::kDetectionType;
  status.producer_name = producer;
  status.producer_id = producer;
  status.code = code;
  return status;
}

}  // namespace

void ProducerInputs::advance(uint64_t frame, std::vector<DetectionLine> lines) {
  store(frame, std::move(lines));
  std::vector<RenderInput>& inputs = inputs_[seg_mask::kDetectionType];
  std::vector<RenderProducerStatus>& statuses = statuses_[seg_mask::kDetectionType];
  inputs.clear();
  statuses.clear();
  lineNumbers_.clear();
  for (Producer& producer : producers_) {
    const uint64_t age = frame - producer.lastFrame;
    if (age > lookback_) producer.deliveries.clear();
    for (const Delivery& delivery : producer.deliveries) {
      inputs.push_back(makeInput(producer.name, producer.lastFrame, delivery.payload, age > 0));
      lineNumbers_.push_back(delivery.lineNumber);
      if (age > 0) detectionsLookedBack_ += delivery.detections;
    }
    const StatusCode served = age > 0 ? kLookedBack : kDelivered;
    statuses.push_back(makeStatus(producer.name, producer.deliveries.empty() ? kNothing : served));
  }
}

void ProducerInputs::fill(RenderContext& context, uint64_t frame) const {
  static const RenderPayloadResolver resolver{&resolvePayload};
  context.frame_id = frame;
  context.payload_resolver = &resolver;
  context.producer_statuses = &statuses_;
  context.inputs = &inputs_;
}

uint64_t ProducerInputs::lineOf(const RenderInput& input) const {
  return lineNumbers_[static_cast<std::size_t>(&input - inputs_.at(seg_mask::kDetectionType).data())];
}

void ProducerInputs::store(uint64_t frame, std::vector<DetectionLine> lines) {
  for (DetectionLine& line : lines) {
    Producer& producer = producerOf(line.producer);
    if (producer.lastFrame != frame) producer.deliveries.clear();
    producer.lastFrame = frame;
    producer.deliveries.push_back({std::move(line.payload), line.detections, line.lineNumber});
    detectionsSeen_ += line.detections;
  }
}

ProducerInputs::Producer& ProducerInputs::producerOf(const std::string& name) {
  const auto [entry, isNew] = indexByName_.try_emplace(name, producers_.size());
  if (isNew) producers_.push_back({name, 0, {}});
  return producers_[entry->second];
}

}  // namespace segmask
