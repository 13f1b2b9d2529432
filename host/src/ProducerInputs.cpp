#include "host/ProducerInputs.h"

#include <utility>

#include "core/SwAny.h"
#include "detection/detections.h"

namespace segmask {
namespace {

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
  for (Producer& producer : producers_) {
    const uint64_t age = frame - producer.lastFrame;
    if (age > lookback_) producer.payloads.clear();
    for (const DetectionPayload& payload : producer.payloads) {
      inputs.push_back(makeInput(producer.name, producer.lastFrame, payload, age > 0));
    }
    const StatusCode served = age > 0 ? kLookedBack : kDelivered;
    statuses.push_back(makeStatus(producer.name, producer.payloads.empty() ? kNothing : served));
  }
}

void ProducerInputs::store(uint64_t frame, std::vector<DetectionLine> lines) {
  for (DetectionLine& line : lines) {
    Producer& producer = producerOf(line.producer);
    if (producer.lastFrame != frame) producer.payloads.clear();
    producer.lastFrame = frame;
    producer.payloads.push_back(std::move(line.payload));
    detectionsSeen_ += line.detections;
  }
}

ProducerInputs::Producer& ProducerInputs::producerOf(const std::string& name) {
  const auto [entry, isNew] = indexByName_.try_emplace(name, producers_.size());
  if (isNew) producers_.push_back({name, 0, {}});
  return producers_[entry->second];
}

}  // namespace segmask
