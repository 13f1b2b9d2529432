#pragma once

#include <string>

/// A plug-in's requirement for one payload type that it consumes.
struct RenderInputRequirement {
  std::string type;   ///< the payload type's name
  bool flag = false;  ///< the host's qualifier; render plug-ins leave it false
};
