#include "host/DetectionPayload.h"

#include <mutex>

#include "core/SwAny.h"

namespace segmask {

void registerDetectionPayload() {
  static std::once_flag once;
  std::call_once(once, [] {
    SwAny::registerMetaType<DetectionPayload>();
    SwAny::registerConversion<DetectionPayload, SwJsonObject>(
        [](const DetectionPayload& payload) { return payload.object ? *payload.object : SwJsonObject(); });
  });
}

}  // namespace segmask
