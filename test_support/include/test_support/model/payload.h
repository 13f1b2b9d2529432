#pragma once

#include <vector>

#include "core/SwJsonObject.h"
#include "test_support/scene.h"

namespace model {

/// The detections of a payload, in its order.
std::vector<scene::Detection> detectionsOf(const SwJsonObject& payload);

}  // namespace model
