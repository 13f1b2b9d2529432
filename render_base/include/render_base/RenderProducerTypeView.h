#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "render_base/RenderInput.h"
#include "render_base/RenderProducerStatus.h"

/// Everything one frame's context says about the producers of one payload type.
struct RenderProducerTypeView {
  /// Provider keys, each once: first those with a status report, in the order of their first report, then
  /// those that only delivered inputs, in byte-wise order.
  std::vector<std::string> producers;

  /// The inputs of each producer, in the context's order. Not owned: they live in the context's input lists.
  /// An entry may be null and is then passed over.
  std::unordered_map<std::string, std::vector<const RenderInput*>> inputsByProducer;

  /// The merged reports of each producer that sent any.
  std::unordered_map<std::string, RenderProducerStatus> statusByProducer;
};
