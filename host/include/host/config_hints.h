#pragma once

#include <string>
#include <vector>

namespace segmask {

/// What a plug-in passes over in a configuration, a sentence for each: keys that its JSON Schema does not
/// have, with the nearest one that it has, and values of another type or out of range. None where either text
/// is no JSON object or the schema has no "properties".
std::vector<std::string> configWarnings(const std::string& config, const std::string& schema);

}  // namespace segmask
