#pragma once

#include <nanobind/nanobind.h>

#include <memory>
#include <mutex>
#include <string>

#include "detection/decision_settings.h"
#include "host/DetectionStream.h"
#include "host/PlanesRenderer.h"
#include "host/PluginHost.h"
#include "host/ProducerInputs.h"
#include "io/nv12.h"

namespace segmask_python {

/// The settings of a drawing, as Python gives them; already checked there.
struct Settings {
  double alpha;
  double minScore;
  int maxOverlayDets;
  bool fast;

  /// As the plug-in's configuration.
  std::string config() const;
};

/// The path of the plug-in's file to load. A process uses one of the two, by the first call; another choice
/// is a UserError that names both. Any thread may call it.
std::string choosePlugin(bool fast);

/// An instance of the plug-in that draws on planes in place. Any thread may call it; calls wait for each
/// other.
class Overlay {
 public:
  explicit Overlay(const Settings& settings);

  /// Draws the detections on the planes, which are arrays of uint8: `y` of (H, W), `uv` of ((H + 1) / 2, 2 *
  /// ((W + 1) / 2)). True when the plug-in has drawn.
  bool draw(nanobind::handle y, nanobind::handle uv, nanobind::handle detections);

 private:
  /// The renderer for frames of that layout: the last one's, if theirs was the same.
  segmask::PlanesRenderer& rendererFor(const segmask::Nv12Layout& layout);

  std::mutex mutex_;
  segmask::ProducerInputs inputs_{0};
  uint64_t next_ = 0;
  segmask::Nv12Layout layout_{0, 0};
  std::unique_ptr<segmask::PlanesRenderer> renderer_;  ///< outlives the plug-in, which draws with its backend
  segmask::PluginHost host_;
};

}  // namespace segmask_python
