#pragma once

#include <string>

/// What a plug-in says of one payload type that it consumes.
struct RenderInputRequirement {
  std::string type;   ///< the payload type's name
  bool flag = false;  ///< the host's qualifier; render plug-ins leave it false
};
