#include "src/RenderSummary.h"

#include <iomanip>
#include <sstream>
#include <utility>

#include "host/verdict_words.h"
#include "src/json_output.h"

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
  if (summary.damaged > 0) {
    text << "damaged       " << summary.damaged << " packets or frames of the input had errors\n";
  }
  if (files.report) text << "report        " << *files.report << "\n";
  return text.str();
}

std::string summaryJson(const RenderSummary& summary, const SummaryFiles& files) {
  SwJsonObject times;
  times.insert("median", summary.renderTimes.percentile(0.5));
  times.insert("p99", summary.renderTimes.percentile(0.99));
  SwJsonObject object;
  object.insert("frames", summary.frames);
  object.insert("detections", summary.detections);
  object.insert("lookback", summary.detectionsLookedBack);
  object.insert("damaged", summary.damaged);
  object.insert("plugin", files.plugin);
  object.insert("render_ms", std::move(times));
  if (const Telling* const telling = summary.telling) {
    object.insert("frames_changed", telling->framesChanged());
    object.insert("pixels_changed", telling->pixelsChanged());
    if (telling->tally()) {
      SwJsonObject dropped;
      for (const auto& [outcome, count] : telling->tally()->dropped()) {
        dropped.insert(seg_mask::outcomeWord(outcome), count.count);
      }
      object.insert("drawn", telling->tally()->drawn());
      object.insert("dropped", std::move(dropped));
    }
  }
  return jsonPage(std::move(object));
}

bool lacksAny(const RenderSummary& summary) {
  if (summary.damaged > 0) return true;
  return summary.telling && summary.telling->tally() && !summary.telling->tally()->dropped().empty();
}

}  // namespace segmask
