#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "src/render/RenderSummary.h"
#include "src/report/RunReport.h"
#include "src/report/report_files.h"
#include "video/VideoFormat.h"

namespace segmask {

/// What a report says of a run besides its figures.
struct ReportFacts {
  std::string output;  ///< the path that the user gave
  std::vector<std::string> commandLine;
  std::optional<std::string> config;  ///< as it was given
  std::string pluginName;
  std::string pluginPath;
  std::string pluginSchema;  ///< of the configuration, as the plug-in publishes it
  uint64_t lookback = 0;
  std::optional<VideoFormat> format;  ///< of all frames; empty for pictures
  bool isInterrupted = false;
  std::time_t written = 0;
  std::vector<ReportFile> files;
};

/// The report of a run as one HTML page, with everything in it that it shows. It has no script, and a policy
/// that lets it fetch nothing and run nothing. The figures are those of `summary`, which `report` shows over
/// the frames; elements with the attribute data-figure hold one figure of summaryJson each, by its name there
/// ("render_ms.p99").
std::string reportPage(const RenderSummary& summary, const RunReport& report, const ReportFacts& facts);

}  // namespace segmask
