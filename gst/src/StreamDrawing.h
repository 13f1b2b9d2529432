#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/DetectionLineReader.h"
#include "host/PlanesRenderer.h"
#include "host/PluginChoice.h"
#include "host/PluginHost.h"
#include "io/nv12.h"
#include "src/FrameInputs.h"

namespace segmask_gst {

/// What a stream is drawn with from its start to its stop.
struct DrawingOptions {
  segmask::PluginChoice plugin;
  std::string location;  ///< the detections file; empty for none
  uint64_t lookback = 0;
};

/// A loaded plug-in with its inputs and the renderer of one stream. Knows nothing of GStreamer. One thread at
/// a time.
class StreamDrawing {
 public:
  /// Loads the plug-in and opens the file. Throws UserError with what to do.
  explicit StreamDrawing(const DrawingOptions& options);

  /// Applies the configuration to the frames from now on and returns what the plug-in passes over in it, a
  /// sentence for each. Throws UserError when the text is no JSON object, and changes nothing then.
  std::vector<std::string> configure(const std::string& json);

  void enableDebug(bool on) { host_.plugin().enableDebug(on); }

  /// The frames from now on have this layout. Throws UserError when there is no usable device or the frames
  /// are too large for it.
  void setLayout(segmask::Nv12Layout layout);

  /// Draws on the planes of frame `number`, in place, with `delivered` beside the file's lines. Whether the
  /// plug-in had anything to draw. Throws UserError.
  bool draw(uint64_t number, segmask::Plane y, segmask::Plane uv,
            std::vector<segmask::DetectionLine> delivered);

  const segmask::Nv12Layout& layout() const { return layout_; }
  uint64_t detectionsSeen() const { return inputs_.detectionsSeen(); }

 private:
  FrameInputs inputs_;
  segmask::Nv12Layout layout_{0, 0};
  std::unique_ptr<segmask::PlanesRenderer> renderer_;  ///< outlives the plug-in, which draws with its backend
  segmask::PluginHost host_;
};

}  // namespace segmask_gst
