#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "core/SwJsonObject.h"
#include "render_base/RenderInput.h"
#include "test_support/scene.h"

/// What a payload says, and how a frame's producers come together, once more: as the rules read, to compare
/// the plug-in's with. Of the product only the records and the value types' fields are used.
namespace reference {

/// The detections of a payload, in its order.
std::vector<scene::Detection> detectionsOf(const SwJsonObject& payload);

/// A frame's producers, and the inputs of each; null among them where there is none. A key stands once in
/// `inputs`.
struct Producers {
  std::vector<std::string> order;
  std::vector<std::pair<std::string, std::vector<const RenderInput*>>> inputs;

  /// Null if the key is not there.
  const std::vector<const RenderInput*>* inputsOf(const std::string& key) const;
};

struct Gathering {
  std::vector<scene::Detection> detections;
  std::uint64_t missing = 0;
  std::uint64_t lookback = 0;
};

/// Gathers up to `cap`. `deliver` is called for each input that is read, in order, and gives its detections;
/// what it throws passes through.
Gathering gather(const Producers& producers, std::size_t cap,
                 const std::function<std::vector<scene::Detection>(const RenderInput&)>& deliver);

}  // namespace reference
