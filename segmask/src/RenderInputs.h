#pragma once

#include <memory>
#include <optional>

#include "host/DetectionStream.h"
#include "src/FrameSource.h"
#include "src/commands.h"

namespace segmask {

/// What `segmask render` reads.
struct RenderInputs {
  FrameSource frames;
  std::unique_ptr<DetectionStream> detections;
};

/// Opens the inputs and skips to the first frame that is wanted. Empty when the user has asked to stop
/// meanwhile: pipes and streams may take long to open, and a failure after that request is not an error.
/// Throws UserError.
std::optional<RenderInputs> openInputs(const RenderOptions& options);

}  // namespace segmask
