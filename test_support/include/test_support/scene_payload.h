#pragma once

#include <string>
#include <vector>

#include "core/SwAny.h"
#include "test_support/scene.h"

namespace scene {

/// Decimal, with enough digits that reading the text gives the same number again.
std::string exactNumber(double number);

/// The payload that carries these detections.
SwAny payloadOf(const std::vector<Detection>& detections, PayloadForm form);

}  // namespace scene
