#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/StageTimes.h"
#include "src/RenderTimes.h"
#include "src/Telling.h"

namespace segmask {

/// What a run of `segmask render` has done. While frames are drawn, each number belongs to one stage; they
/// are read when all stages have ended.
struct RenderSummary {
  uint64_t frames = 0;
  uint64_t framesDrawn = 0;
  uint64_t detections = 0;
  uint64_t detectionsLookedBack = 0;
  uint64_t damaged = 0;  ///< packets and frames of the input with errors (FrameReader::damaged)
  RenderTimes renderTimes;
  StageTimes stageTimes;
  const Telling* telling = nullptr;  ///< not owned; null when nothing is to be told
};

/// The files that a summary names.
struct SummaryFiles {
  std::string detections;
  std::string output;
  std::optional<std::string> contactSheet;
  std::string plugin;
  std::optional<std::string> report;
};

/// The summary for the user: lines of a label of 14 columns and its value. Scripts read it, so lines keep
/// their form and their order, and new ones are added at the end.
std::string summaryText(const RenderSummary& summary, const SummaryFiles& files);

/// The summary for programs, one JSON object without a line end: "frames", "detections", "lookback",
/// "damaged", "plugin", "render_ms" with "median" and "p99"; where it is told, "frames_changed" and
/// "pixels_changed"; and where the plug-in's rules are known, "drawn" and "dropped", an object of the words
/// of outcomeWord to counts.
std::string summaryJson(const RenderSummary& summary, const SummaryFiles& files);

/// Whether any detection is known to have been dropped, or a frame may be damaged.
bool lacksAny(const RenderSummary& summary);

}  // namespace segmask
