#pragma once

#include <string>

#include "host/DetectionTally.h"
#include "src/render/RenderSummary.h"
#include "src/report/RunReport.h"
#include "src/report/report_page.h"

namespace segmask {

// The sections of the report, in the page's order, each as HTML.

/// Title, outcome in a sentence, and what kind of run it was. Not in a section of its own.
std::string reportHead(const RenderSummary& summary, const ReportFacts& facts);

/// The summary's figures.
std::string figuresSection(const RenderSummary& summary, const ReportFacts& facts);

/// Pictures of some frames.
std::string framesSection(const RenderSummary& summary, const RunReport& report);

/// Detections drawn, dropped and used again, over the frames.
std::string detectionsSection(const RenderSummary& summary, const RunReport& report,
                              const ReportFacts& facts);

/// The time in render: its distribution, and over the frames.
std::string timesSection(const RenderSummary& summary, const RunReport& report);

std::string classesSection(const RenderSummary& summary, const RunReport& report);

/// Empty where no producer is known.
std::string producersSection(const RenderSummary& summary, const RunReport& report);

std::string configurationSection(const ReportFacts& facts);
std::string filesSection(const ReportFacts& facts);
std::string commandLineSection(const ReportFacts& facts);

/// What the page is called, as text: the output, without its folder.
std::string reportTitle(const ReportFacts& facts);

/// What became of the run's detections. Null where that is not known; then kUnknownRules, which is HTML, says
/// so.
const DetectionTally* tallyOf(const RenderSummary& summary);

inline constexpr const char kUnknownRules[] =
    "Which detections were drawn and which were dropped is not known: the run was told not to find out "
    "(<code>--no-explain</code>), or the rules of its plug-in are not known.";

uint64_t droppedIn(const DetectionTally& tally);

/// "12.5 %"
std::string shareText(uint64_t part, uint64_t whole);

}  // namespace segmask
