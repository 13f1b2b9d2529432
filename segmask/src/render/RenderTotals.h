#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "core/SwJsonObject.h"
#include "src/render/RenderTimes.h"
#include "video/FrameReader.h"

namespace segmask {

/// What is known of what a run has drawn.
struct ToldTotals {
  uint64_t framesChanged = 0;
  uint64_t pixelsChanged = 0;
  std::optional<uint64_t> drawn;            ///< detections, where the plug-in's rules are known
  std::map<std::string, uint64_t> dropped;  ///< detections, by the word of the rule (outcomeWord)
};

/// What a run has done, in numbers; those of a video's pieces add up to those of the video.
struct RenderTotals {
  uint64_t frames = 0;
  uint64_t framesDrawn = 0;
  uint64_t detections = 0;
  uint64_t detectionsLookedBack = 0;
  Damage damage;
  RenderTimes renderTimes;
  std::optional<ToldTotals> told;

  void add(const RenderTotals& other);
};

/// The totals as JSON, and back.
SwJsonObject totalsJson(const RenderTotals& totals);
RenderTotals totalsIn(const SwJsonObject& object);

/// The summary for programs, one JSON object without a line end: "frames", "detections", "lookback",
/// "damaged", "plugin", "render_ms" with "median" and "p99"; where it is told, "frames_changed" and
/// "pixels_changed"; and where the plug-in's rules are known, "drawn" and "dropped", an object of words to
/// counts.
std::string summaryJson(const RenderTotals& totals, const std::string& plugin);

/// Whether any detection is known to have been dropped, or the input was damaged.
bool lacksAny(const RenderTotals& totals);

/// Whether there were detections and yet no pixel is known to have changed.
bool showsNothing(const RenderTotals& totals);

}  // namespace segmask
