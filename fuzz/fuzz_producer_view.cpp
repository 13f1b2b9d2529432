// The producers of a frame: random reports and inputs against a plain model of the merge rules. The input is
// a program that builds the lists of two payload types, either of which may be absent, as may the maps
// themselves.

#include <array>
#include <unordered_map>

#include "fuzz/FuzzInput.h"
#include "fuzz/fuzz_target.h"
#include "render_base/RenderBase.h"
#include "render_base/RenderContext.h"
#include "test_support/FrameContext.h"
#include "test_support/StderrCapture.h"
#include "test_support/model/producers.h"

namespace {

using Reports = std::unordered_map<std::string, std::vector<RenderProducerStatus>>;
using Inputs = std::unordered_map<std::string, std::vector<RenderInput>>;

const std::array<std::string, 2> kTypes{"detection.v1", ""};

// Few different ones, so that some agree; all that decides their order is their bytes.
std::string buildText(FuzzInput& input) {
  static const std::array<std::string, 8> kTexts{"",   "",  "a",        "b",
                                                 "aa", "A", "\xC3\xA4", std::string("a\0b", 3)};
  const unsigned kind = input.below(9);
  return kind < kTexts.size() ? kTexts[kind] : input.piece();
}

template <typename Record>
void buildTexts(FuzzInput& input, Record& record) {
  for (std::string* text : {&record.payload_type, &record.producer_name, &record.producer_version,
                            &record.stream_name, &record.detail, &record.producer_id}) {
    *text = buildText(input);
  }
}

std::uint32_t buildValue(FuzzInput& input) {
  return input.flag() ? input.byte() % 4U : input.number<std::uint32_t>();
}

std::int32_t buildCode(FuzzInput& input) {
  const unsigned kind = input.below(8);
  if (kind < 6) return static_cast<std::int32_t>(kind);
  return kind == 6 ? -1 - static_cast<std::int32_t>(input.byte()) : input.number<std::int32_t>();
}

Reports buildReports(FuzzInput& input) {
  Reports reports;
  for (const std::string& type : kTypes) {
    if (input.below(8) == 0) continue;
    std::vector<RenderProducerStatus>& list = reports[type];
    for (unsigned count = input.below(8); count > 0; --count) {
      RenderProducerStatus& report = list.emplace_back();
      buildTexts(input, report);
      report.firstValue = buildValue(input);
      report.maxValue = buildValue(input);
      report.code = buildCode(input);
    }
  }
  return reports;
}

Inputs buildInputs(FuzzInput& input) {
  Inputs inputs;
  for (const std::string& type : kTypes) {
    if (input.below(8) == 0) continue;
    std::vector<RenderInput>& list = inputs[type];
    for (unsigned count = input.below(8); count > 0; --count) buildTexts(input, list.emplace_back());
  }
  return inputs;
}

void checkStatus(const RenderProducerStatus& actual, const RenderProducerStatus& expected) {
  fuzz::checkEqual(actual.payload_type, expected.payload_type, "payload_type");
  fuzz::checkEqual(actual.producer_name, expected.producer_name, "producer_name");
  fuzz::checkEqual(actual.producer_version, expected.producer_version, "producer_version");
  fuzz::checkEqual(actual.stream_name, expected.stream_name, "stream_name");
  fuzz::checkEqual(actual.detail, expected.detail, "detail");
  fuzz::checkEqual(actual.producer_id, expected.producer_id, "producer_id");
  fuzz::check(actual.firstValue == expected.firstValue, "firstValue");
  fuzz::check(actual.maxValue == expected.maxValue, "maxValue");
  fuzz::check(actual.code == expected.code, "code");
}

void checkView(const RenderProducerTypeView& actual, const model::ProducerView& expected) {
  fuzz::check(actual.producers == expected.producers.order, "the producers and their order");
  fuzz::check(actual.inputsByProducer.size() == expected.producers.inputs.size(), "producers with inputs");
  for (const auto& [key, inputs] : expected.producers.inputs) {
    fuzz::check(actual.inputsByProducer.at(key) == inputs, "a producer's inputs");
  }
  fuzz::check(actual.statusByProducer.size() == expected.statuses.size(), "producers with reports");
  for (const auto& [key, status] : expected.statuses) checkStatus(actual.statusByProducer.at(key), status);
}

template <typename Record>
std::vector<Record> listOf(const std::unordered_map<std::string, std::vector<Record>>* map,
                           const std::string& type) {
  if (map == nullptr || map->count(type) == 0) return {};
  return map->at(type);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  const StderrCapture captured;
  const bool hasReports = input.below(8) != 0;
  const bool hasInputs = input.below(8) != 0;
  plugin_test::FrameContext parts;
  parts.reports = buildReports(input);
  parts.inputs = buildInputs(input);
  RenderContext& ctx = parts.ctx;
  if (!hasReports) ctx.producer_statuses = nullptr;
  if (!hasInputs) ctx.inputs = nullptr;

  static const std::vector<RenderInput> kNoInputs;
  std::array<model::ProducerView, 2> expected;
  std::array<const RenderProducerTypeView*, 2> views{};
  for (std::size_t i = 0; i < kTypes.size(); ++i) {
    const auto found = parts.inputs.find(kTypes[i]);
    const bool delivered = hasInputs && found != parts.inputs.end();
    expected[i] =
        model::producerView(listOf(ctx.producer_statuses, kTypes[i]), delivered ? found->second : kNoInputs);
    views[i] = &RenderBase::producerTypeView(ctx, kTypes[i]);
    checkView(*views[i], expected[i]);
  }

  // What was asked for once stays, whatever becomes of the lists.
  parts.reports.clear();
  ctx.inputs = nullptr;
  for (std::size_t i = 0; i < kTypes.size(); ++i) {
    fuzz::check(&RenderBase::producerTypeView(ctx, kTypes[i]) == views[i], "the same view again");
    checkView(*views[i], expected[i]);
  }
  fuzz::check(ctx.producer_views.size() == kTypes.size(), "the cache holds what was asked for");
  fuzz::checkEqual(captured.text(), "", "standard error");
  return 0;
}
