#pragma once

#include <cstdint>
#include <memory>

#include "host/FrameRenderer.h"
#include "host/ProducerInputs.h"
#include "io/Frame.h"
#include "io/nv12.h"
#include "render_base/IRenderPlugin.h"

namespace segmask {

/// Lets a plug-in draw on frames whose planes are in the host's memory, in place.
///
/// On the CPU device, whose memory is the host's, the plug-in draws on the planes themselves: nothing is
/// copied. On another device, and on planes whose rows do not rise in memory, the frame goes through a
/// FrameRenderer. The bytes are the same.
///
/// Must outlive the plug-in's last render: it owns the backends. One thread at a time.
class PlanesRenderer {
 public:
  /// For frames of that layout. Throws UserError when there is no usable device, std::invalid_argument when
  /// a plane would not fit 32-bit byte offsets.
  explicit PlanesRenderer(Nv12Layout layout);
  ~PlanesRenderer();
  PlanesRenderer(const PlanesRenderer&) = delete;
  PlanesRenderer& operator=(const PlanesRenderer&) = delete;

  /// Lets `plugin` draw frame `number` with these inputs on the planes. False when it had nothing to draw;
  /// the planes are as they were then. Throws as FrameRenderer::render; a frame that was drawn on in place
  /// may then have been drawn on in part.
  bool render(IRenderPlugin& plugin, uint64_t number, Plane y, Plane uv, const ProducerInputs& inputs);

 private:
  class InPlace;

  bool renderCopy(IRenderPlugin& plugin, uint64_t number, Plane y, Plane uv, const ProducerInputs& inputs);

  Nv12Layout layout_;
  std::unique_ptr<InPlace> inPlace_;        ///< null where the device's memory is not the host's
  std::unique_ptr<FrameRenderer> copying_;  ///< made when it is first needed
  Frame frame_;
};

}  // namespace segmask
