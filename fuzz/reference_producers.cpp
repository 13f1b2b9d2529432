#include "fuzz/reference_producers.h"

#include <algorithm>
#include <array>

namespace reference {
namespace {

template <typename Record>
std::string keyOf(const Record& record) {
  return record.producer_id.empty() ? record.producer_name : record.producer_id;
}

// The first of two codes in the order of precedence; none of the order's is unknown and comes last.
std::int32_t strongerCode(std::int32_t merged, std::int32_t later) {
  constexpr std::array<std::int32_t, 5> kPrecedence{0, 1, 3, 2, 4};
  for (const std::int32_t code : kPrecedence) {
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

}  // namespace reference
