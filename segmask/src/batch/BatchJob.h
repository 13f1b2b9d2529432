#pragma once

#include <cstdint>

#include "core/SwJsonObject.h"
#include "src/commands.h"

namespace segmask {

/// One line of a job list.
struct BatchJob {
  uint64_t line = 0;
  RenderOptions render;   ///< paths that are relative in the list are relative to its folder there
  SwJsonObject settings;  ///< the options that name no file, each as the text that `segmask render` would get
};

}  // namespace segmask
