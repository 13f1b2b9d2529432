#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "render_base/RenderInput.h"
#include "render_base/RenderProducerStatus.h"
#include "test_support/scene.h"

/// A frame's producers of one payload type, by searching lists from their start.
namespace model {

/// A frame's producers, and the inputs of each; null among them where there is none. A key stands once in
/// `inputs`.
struct Producers {
  std::vector<std::string> order;
  std::vector<std::pair<std::string, std::vector<const RenderInput*>>> inputs;

  /// Null if the key is not there.
  const std::vector<const RenderInput*>* inputsOf(const std::string& key) const;
};

struct ProducerView {
  Producers producers;
  std::vector<std::pair<std::string, RenderProducerStatus>> statuses;  ///< a key stands once
};

/// From the reports and inputs of the type.
ProducerView producerView(const std::vector<RenderProducerStatus>& reports,
                          const std::vector<RenderInput>& inputs);

/// The detections that count for the frame, in drawing order, and what the line of a skipped frame says.
struct Gathering {
  std::vector<scene::Detection> detections;
  uint64_t missing = 0;
  uint64_t lookback = 0;
};

/// Gathers up to `cap`, which acts as 1 when it is less. `deliver` is called for each input that is read, in
/// order, and gives its detections; what it throws passes through.
Gathering gather(const Producers& producers, int32_t cap,
                 const std::function<std::vector<scene::Detection>(const RenderInput&)>& deliver);

}  // namespace model
