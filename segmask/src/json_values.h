#pragma once

#include <cstdint>
#include <string>

#include "core/SwJsonObject.h"
#include "core/SwJsonValue.h"

namespace segmask {

/// The value as JSON on one line, without a line feed at its end.
std::string jsonLine(const SwJsonValue& value);

/// The value as JSON over several lines, indented for people, without a line feed at its end.
std::string jsonPage(const SwJsonValue& value);

/// The member of that name, a whole number from 0 on, which this tool has written; 0 where there is none.
uint64_t countIn(const SwJsonObject& object, const char* name);

}  // namespace segmask
