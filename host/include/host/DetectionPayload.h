#pragma once

#include <memory>

#include "core/SwJsonObject.h"

namespace segmask {

/// What this host stores as an input's payload: the producer's JSON object, shared, because with look-back
/// one object serves many frames and each mask in it may be large. A registered conversion gives plug-ins the
/// object itself.
struct DetectionPayload {
  std::shared_ptr<const SwJsonObject> object;
};

/// Makes SwAny hold DetectionPayload and convert it to SwJsonObject. To be called before any other thread
/// uses SwAny; a further call does nothing, and any thread may make it.
void registerDetectionPayload();

}  // namespace segmask
