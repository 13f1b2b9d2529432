#include "src/render/RenderSummary.h"

#include <iomanip>
#include <sstream>

#include "host/verdict_words.h"
#include "io/UserError.h"

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
         << "; first: " << oneLine(file) << ":" << dropped.lineNumber << ": detections[" << dropped.index
         << "]: " << dropped.why << "\n";
  }
}

}  // namespace

std::string summaryText(const RenderSummary& summary, const SummaryFiles& files) {
  const RenderTotals& totals = summary.totals;
  std::ostringstream text;
  text << "frames        " << totals.frames << "\n"
       << "frames drawn  " << totals.framesDrawn << "\n"
       << "detections    " << totals.detections << "\n"
       << std::fixed << std::setprecision(3) << "render        median " << totals.renderTimes.percentile(0.5)
       << " ms, 99th percentile " << totals.renderTimes.percentile(0.99) << " ms a frame (within 3 %)\n"
       << "slowest stage " << summary.stageTimes.slowestStage() << "\n"
       << "output        " << oneLine(files.output) << "\n";
  if (files.contactSheet) text << "contact sheet " << oneLine(*files.contactSheet) << "\n";
  text << "plug-in       " << oneLine(files.plugin) << "\n";
  if (const Telling* const telling = summary.telling) {
    text << "changed       " << counted(telling->framesChanged(), "frame") << ", "
         << counted(telling->pixelsChanged(), "pixel") << "\n";
    if (telling->tally()) addTally(text, *telling->tally(), files.detections);
  }
  text << "look-back     " << counted(totals.detectionsLookedBack, "detection") << " used again\n";
  if (totals.damage.count() > 0) {
    text << "damaged       " << totals.damage.count() << " packets or frames of the input had errors\n";
  }
  if (files.report) text << "report        " << oneLine(*files.report) << "\n";
  return text.str();
}

void addTold(RenderTotals& totals, const Telling& telling) {
  ToldTotals& told = totals.told.emplace();
  told.framesChanged = telling.framesChanged();
  told.pixelsChanged = telling.pixelsChanged();
  if (!telling.tally()) return;
  told.drawn = telling.tally()->drawn();
  for (const auto& [outcome, dropped] : telling.tally()->dropped()) {
    told.dropped[seg_mask::outcomeWord(outcome)] = dropped.count;
  }
}

}  // namespace segmask
