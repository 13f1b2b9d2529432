#include "src/RenderSummary.h"

#include <iomanip>
#include <sstream>

#include "host/verdict_words.h"

namespace segmask {
namespace {

std::string counted(uint64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

void addTally(std::ostringstream& text, const DetectionTally& tally, const std::string& file) {
  text << "drawn         " << counted(tally.drawn(), "detection") << "\n";
  if (tally.dropped().empty()) text << "dropped       0 detections\n";
  for (const auto& [outcome, dropped] : tally.dropped()) {
    text << "dropped       " << counted(dropped.count, "detection") << ", " << reasonOf(outcome)
         << "; first: " << file << ":" << dropped.lineNumber << ": detections[" << dropped.index
         << "]: " << dropped.why << "\n";
  }
}

}  // namespace

std::string summaryText(const RenderSummary& summary, const SummaryFiles& files) {
  std::ostringstream text;
  text << "frames        " << summary.frames << "\n"
       << "frames drawn  " << summary.framesDrawn << "\n"
       << "detections    " << summary.detections << "\n"
       << std::fixed << std::setprecision(3) << "render        median " << summary.renderTimes.percentile(0.5)
       << " ms, 99th percentile " << summary.renderTimes.percentile(0.99) << " ms a frame (within 3 %)\n"
       << "slowest stage " << summary.stageTimes.slowestStage() << "\n"
       << "output        " << files.output << "\n";
  if (files.contactSheet) text << "contact sheet " << *files.contactSheet << "\n";
  text << "plug-in       " << files.plugin << "\n";
  if (const Telling* const telling = summary.telling) {
    text << "changed       " << counted(telling->framesChanged(), "frame") << ", "
         << counted(telling->pixelsChanged(), "pixel") << "\n";
    if (telling->tally()) addTally(text, *telling->tally(), files.detections);
  }
  text << "look-back     " << counted(summary.detectionsLookedBack, "detection") << " used again\n";
  return text.str();
}

}  // namespace segmask
