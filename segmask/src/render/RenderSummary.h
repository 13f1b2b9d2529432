#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/StageTimes.h"
#include "src/render/RenderTotals.h"
#include "src/render/Telling.h"

namespace segmask {

/// What a run of `segmask render` has done. While frames are drawn, each number belongs to one stage; they
/// are read when all stages have ended.
struct RenderSummary {
  RenderTotals totals;
  StageTimes stageTimes;
  const Telling* telling = nullptr;  ///< not owned; null when nothing is to be told
};

/// Fills in what has been told.
void addTold(RenderTotals& totals, const Telling& telling);

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

}  // namespace segmask
