#include "render_base/RenderBase.h"

#include <algorithm>
#include <utility>

#include "render_base/RenderContext.h"

namespace {

/// The list kept under `type`, or null when the map or the entry is absent.
template <class Record>
const std::vector<Record>* listOf(const std::unordered_map<std::string, std::vector<Record>>* map,
                                  const std::string& type) {
  if (!map) return nullptr;
  const auto found = map->find(type);
  return found == map->end() ? nullptr : &found->second;
}

void addReports(const std::vector<RenderProducerStatus>& reports, RenderProducerTypeView& view) {
  view.statusByProducer.reserve(reports.size());
  view.producers.reserve(reports.size());
  for (const RenderProducerStatus& report : reports) {
    const std::string& key = providerKey(report);
    if (key.empty()) continue;
    const auto [merged, isNew] = view.statusByProducer.try_emplace(key, report);
    if (isNew) {
      view.producers.push_back(key);
    } else {
      mergeProducerStatus(merged->second, report);
    }
  }
}

void addInputs(const std::vector<RenderInput>& inputs, RenderProducerTypeView& view) {
  view.inputsByProducer.reserve(inputs.size());
  std::vector<std::string> extra;
  extra.reserve(inputs.size());
  for (const RenderInput& input : inputs) {
    const std::string& key = providerKey(input);
    if (key.empty()) continue;
    const auto [ofProducer, isNew] = view.inputsByProducer.try_emplace(key);
    ofProducer->second.push_back(&input);
    if (isNew && view.statusByProducer.count(key) == 0) extra.push_back(key);
  }
  std::sort(extra.begin(), extra.end());
  view.producers.insert(view.producers.end(), std::make_move_iterator(extra.begin()),
                        std::make_move_iterator(extra.end()));
}

}  // namespace

std::vector<RenderInputRequirement> RenderBase::input_requirements() const {
  std::vector<std::string> types = input_types();
  std::vector<RenderInputRequirement> requirements;
  requirements.reserve(types.size());
  for (std::string& type : types) requirements.push_back({std::move(type), false});
  return requirements;
}

const RenderProducerTypeView& RenderBase::producerTypeView(const RenderContext& ctx,
                                                           const std::string& type) {
  if (const auto cached = ctx.producer_views.find(type); cached != ctx.producer_views.end())
    return cached->second;

  // Built aside and moved in whole: when memory runs out half-way, the cache must not keep a half-filled
  // view.
  RenderProducerTypeView view;
  if (const auto* reports = listOf(ctx.producer_statuses, type)) addReports(*reports, view);
  if (const auto* inputs = listOf(ctx.inputs, type)) addInputs(*inputs, view);
  return ctx.producer_views.emplace(type, std::move(view)).first->second;
}
