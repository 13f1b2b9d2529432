#include "host/DetectionPayload.h"

#include "core/SwAny.h"

namespace segmask {

void registerDetectionPayload() {
  SwAny::registerMetaType<DetectionPayload>();
  SwAny::registerConversion<DetectionPayload, SwJsonObject>(
      [](const DetectionPayload& payload) { return payload.object ? *payload.object : SwJsonObject(); });
}

}  // namespace segmask
