#include "src/StreamDrawing.h"

#include <stdexcept>
#include <utility>

#include "host/DetectionPayload.h"
#include "host/config_hints.h"
#include "io/UserError.h"
#include "render_base/settings.h"

namespace segmask_gst {

StreamDrawing::StreamDrawing(const DrawingOptions& options)
    : inputs_(options.location, options.lookback), host_(options.plugin.pathInProcess()) {
  segmask::registerDetectionPayload();
}

std::vector<std::string> StreamDrawing::configure(const std::string& json) {
  if (!render_base::parseConfiguration(json)) {
    throw segmask::UserError("config: not a JSON object (it takes the object itself, like {\"alpha\": 0.5})");
  }
  host_.plugin().setConfig(json);
  return segmask::configWarnings(json, host_.plugin().getConfigList());
}

void StreamDrawing::setLayout(segmask::Nv12Layout layout) {
  if (renderer_ && layout.width == layout_.width && layout.height == layout_.height) return;
  try {
    renderer_ = std::make_unique<segmask::PlanesRenderer>(layout);
  } catch (const std::invalid_argument& error) {
    throw segmask::UserError(error.what());
  }
  layout_ = layout;
}

bool StreamDrawing::draw(uint64_t number, segmask::Plane y, segmask::Plane uv,
                         std::vector<segmask::DetectionLine> delivered) {
  inputs_.advance(number, {layout_.width, layout_.height}, std::move(delivered));
  return renderer_->render(host_.plugin(), number, y, uv, inputs_.inputs());
}

}  // namespace segmask_gst
