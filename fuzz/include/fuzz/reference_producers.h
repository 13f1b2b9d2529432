#pragma once

#include <string>
#include <utility>
#include <vector>

#include "fuzz/reference_detections.h"
#include "render_base/RenderProducerStatus.h"

/// A frame's producers of one payload type once more, by searching lists from their start.
namespace reference {

struct ProducerView {
  Producers producers;
  std::vector<std::pair<std::string, RenderProducerStatus>> statuses;  // a key stands once
};

/// From the reports and inputs of the type.
ProducerView producerView(const std::vector<RenderProducerStatus>& reports,
                          const std::vector<RenderInput>& inputs);

}  // namespace reference
