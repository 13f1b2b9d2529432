#include "src/render/payloads.h"

#include "host/DetectionPayload.h"
#include "src/render/StderrGuard.h"

namespace segmask {

void registerPayloads(bool debug) {
  if (debug) {
    registerDetectionPayload();
  } else {
    const StderrSilence silence;
    registerDetectionPayload();
  }
}

}  // namespace segmask
