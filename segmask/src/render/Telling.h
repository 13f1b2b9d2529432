#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/DetectionTally.h"
#include "host/FrameRenderer.h"
#include "host/ProducerInputs.h"
#include "io/Frame.h"
#include "io/nv12.h"
#include "src/render/DetectionHints.h"

namespace segmask {

/// Finds out for the user what a run draws and why not, since the plug-in itself is silent. Looks at each
/// frame after its pass, in the drawing stage.
///
/// Of the tool and not of the host's code, because which of the numbers can be told depends on the tool's
/// options and on the plug-in that it loaded.
class Telling {
 public:
  /// Watches `renderer`, whose frames have this layout, and which gets its inputs from `inputs`; both must
  /// outlive the last render. `tally` is empty for a plug-in whose rules are not known.
  Telling(FrameRenderer& renderer, const ProducerInputs& inputs, Nv12Layout layout,
          std::optional<DetectionTally> tally);
  Telling(const Telling&) = delete;
  Telling& operator=(const Telling&) = delete;

  /// The frames from now on have this layout.
  void setLayout(Nv12Layout layout);

  /// Each line, before it is drawn.
  void look(const DetectionLine& line) { hints_.look(line); }

  /// After each render, with its result and its frame.
  void look(const FrameRenderer::Result& result, const Frame& frame);

  uint64_t framesChanged() const { return framesChanged_; }
  uint64_t pixelsChanged() const { return pixelsChanged_; }
  const std::optional<DetectionTally>& tally() const { return tally_; }
  const DetectionHints& hints() const { return hints_; }

 private:
  uint64_t changedPixels(const Frame& frame);
  void markBoxes();

  FrameRenderer& renderer_;
  Nv12Layout layout_;
  int tileColumns_ = 0;
  int tileRows_ = 0;
  std::vector<bool> tiles_;  ///< row by row: whether a box touches the tile
  std::optional<DetectionTally> tally_;
  DetectionHints hints_;
  uint64_t framesChanged_ = 0;
  uint64_t pixelsChanged_ = 0;
};

}  // namespace segmask
