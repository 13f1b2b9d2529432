#include "test_support/model/producers.h"

#include <algorithm>
#include <array>

namespace model {
namespace {

template <typename Record>
std::string keyOf(const Record& record) {
  return record.producer_id.empty() ? record.producer_name : record.producer_id;
}

// The first of two codes in the order of precedence; none of the order's is unknown and comes last.
int32_t strongerCode(int32_t merged, int32_t later) {
  constexpr std::array<int32_t, 5> kPrecedence{0, 1, 3, 2, 4};
  for (const int32_t code : kPrecedence) {
    if (merged == code || later == code) return code;
  }
  return merged;
}

void fill(std::string& text, const std::string& later) {
  if (text.empty()) text = later;
}

void merge(RenderProducerStatus& merged, const RenderProducerStatus& later) {
  merged.code = strongerCode(merged.code, later.code);
  fill(merged.producer_name, later.producer_name);
  fill(merged.producer_version, later.producer_version);
  fill(merged.stream_name, later.stream_name);
  fill(merged.detail, later.detail);
  fill(merged.producer_id, later.producer_id);
  if (merged.firstValue == 0) merged.firstValue = later.firstValue;
  if (later.maxValue > merged.maxValue) merged.maxValue = later.maxValue;
}

// The entry under the key; made at the end if there is none.
template <typename Value>
Value& entryOf(std::vector<std::pair<std::string, Value>>& entries, const std::string& key, bool& isNew) {
  isNew = false;
  for (auto& [name, value] : entries) {
    if (name == key) return value;
  }
  isNew = true;
  return entries.emplace_back(key, Value()).second;
}

}  // namespace

ProducerView producerView(const std::vector<RenderProducerStatus>& reports,
                          const std::vector<RenderInput>& inputs) {
  ProducerView view;
  std::vector<std::string>& order = view.producers.order;
  for (const RenderProducerStatus& report : reports) {
    const std::string key = keyOf(report);
    if (key.empty()) continue;
    bool isNew = false;
    RenderProducerStatus& status = entryOf(view.statuses, key, isNew);
    if (isNew) {
      status = report;
      order.push_back(key);
    } else {
      merge(status, report);
    }
  }

  const auto reported = static_cast<std::ptrdiff_t>(order.size());
  for (const RenderInput& input : inputs) {
    const std::string key = keyOf(input);
    if (key.empty()) continue;
    bool isNew = false;
    entryOf(view.producers.inputs, key, isNew).push_back(&input);
    if (std::find(order.begin(), order.end(), key) == order.end()) order.push_back(key);
  }
  std::sort(order.begin() + reported, order.end());
  return view;
}

const std::vector<const RenderInput*>* Producers::inputsOf(const std::string& key) const {
  for (const auto& [name, list] : inputs) {
    if (name == key) return &list;
  }
  return nullptr;
}

Gathering gather(const Producers& producers, int32_t cap,
                 const std::function<std::vector<scene::Detection>(const RenderInput&)>& deliver) {
  const auto most = static_cast<std::size_t>(std::max(cap, 1));
  Gathering frame;
  for (const std::string& key : producers.order) {
    if (frame.detections.size() >= most) break;
    if (key.empty()) continue;
    const std::vector<const RenderInput*>* const inputs = producers.inputsOf(key);
    if (inputs == nullptr || inputs->empty()) {
      ++frame.missing;
      continue;
    }
    std::vector<scene::Detection> ofProducer;
    bool looksBack = false;
    for (const RenderInput* input : *inputs)
      looksBack = looksBack || (input != nullptr && input->uses_lookback);
    if (looksBack) ++frame.lookback;
    for (const RenderInput* input : *inputs) {
      if (input == nullptr) continue;
      for (scene::Detection& detection : deliver(*input)) ofProducer.push_back(std::move(detection));
    }
    if (ofProducer.empty()) ++frame.missing;
    for (scene::Detection& detection : ofProducer) {
      if (frame.detections.size() < most) frame.detections.push_back(std::move(detection));
    }
  }
  return frame;
}

}  // namespace model
