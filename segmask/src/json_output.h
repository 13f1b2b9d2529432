#pragma once

#include <string>

#include "core/SwJsonValue.h"

namespace segmask {

/// The value as JSON on one line, without a line feed at its end.
std::string jsonLine(const SwJsonValue& value);

/// The value as JSON over several lines, indented for people, without a line feed at its end.
std::string jsonPage(const SwJsonValue& value);

}  // namespace segmask
