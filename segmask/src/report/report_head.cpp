#include <chrono>
#include <cmath>
#include <filesystem>
#include <vector>

#include "host/verdict_words.h"
#include "io/FileDescriptor.h"
#include "src/report/html_text.h"
#include "src/report/report_charts.h"
#include "src/report/report_html.h"
#include "src/report/report_sections.h"

namespace segmask {
namespace {

std::string lede(const RenderSummary& summary) {
  const std::string frames =
      grouped(summary.totals.framesDrawn) + " of " + countText(summary.totals.frames, "frame");
  const DetectionTally* const tally = tallyOf(summary);
  if (!tally) return "The plug-in drew on " + frames + ".";
  return grouped(tally->drawn()) + " of " + countText(summary.totals.detections, "detection") +
         " drawn; the plug-in drew on " + frames + ".";
}

std::string dateText(std::time_t time) {
  std::tm parts{};
  gmtime_r(&time, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts);
  return text;
}

std::string meta(const RenderSummary& summary, const ReportFacts& facts) {
  const double seconds = std::chrono::duration<double>(summary.stageTimes.whole).count();
  std::string html;
  if (facts.format) {
    html += std::to_string(facts.format->width) + " × " + std::to_string(facts.format->height) + " pixels, " +
            axisText(av_q2d(facts.format->frameRate)) + " frames/s · ";
  }
  html += "rendered in " + fixedText(seconds, 1) + " s";
  if (seconds > 0) {
    html += ", " + axisText(std::round(static_cast<double>(summary.totals.frames) / seconds)) + " frames/s";
  }
  return html + " · slowest stage: " + htmlText(summary.stageTimes.slowestStage()) +
         " · segmask " SEGMASK_VERSION " · <time>" + dateText(facts.written) + " UTC</time>";
}

/// One figure of the summary.
struct Tile {
  std::string label;
  std::string figure;  ///< its name in the summary for programs
  std::string value;
  std::string more;  ///< HTML
};

std::string tileHtml(const Tile& tile, bool isFirst) {
  constexpr std::size_t kMostLarge = 9;  // characters that a tile holds on a phone
  std::string html = std::string("<div") + (isFirst ? " class=\"first\"" : "") + "><dt>" + tile.label +
                     "</dt><dd" + (tile.value.size() > kMostLarge ? " class=\"long\"" : "") +
                     " data-figure=\"" + tile.figure + "\">" + tile.value + "</dd>";
  if (!tile.more.empty()) html += "<dd class=\"more\">" + tile.more + "</dd>";
  return html + "</div>\n";
}

std::string figure(const std::string& name, const std::string& value) {
  return "<span data-figure=\"" + name + "\">" + value + "</span>";
}

/// The tiles of what became of the detections.
std::vector<Tile> detectionTiles(const RenderSummary& summary) {
  const DetectionTally* const tally = tallyOf(summary);
  if (!tally) return {{"Detections", "detections", grouped(summary.totals.detections), ""}};
  const uint64_t dropped = droppedIn(*tally);
  return {
      {"Detections drawn", "drawn", grouped(tally->drawn()),
       shareText(tally->drawn(), summary.totals.detections) + " of " +
           figure("detections", grouped(summary.totals.detections))},
      {"Dropped", "dropped", grouped(dropped), shareText(dropped, summary.totals.detections) + " of all"}};
}

std::string momentText(const FrameStrip::Moment& moment) {
  std::string text = "Frame " + grouped(moment.frame);
  if (moment.seconds) text += " at " + timeText(*moment.seconds);
  return text;
}

std::string countsText(const FrameStrip::Moment& moment) {
  return grouped(moment.drawn) + " drawn, " + grouped(moment.dropped) + " dropped";
}

std::string pictureHtml(const FrameStrip::Shown& shown, bool areCounted) {
  const FrameStrip::Picture& picture = *shown.picture;
  const std::string counts = areCounted ? countsText(picture) : std::string();
  std::string html = "<li><figure><img width=\"" + std::to_string(picture.width) + "\" height=\"" +
                     std::to_string(picture.height) + "\" alt=\"" + momentText(picture) +
                     (areCounted ? ": detections " + counts : std::string()) +
                     "\" src=\"data:image/png;base64," + base64Text(pngOf(picture)) + "\">\n";
  if (shown.hasMostDrawn || shown.hasMostDropped) {
    html += std::string("<p>") + (shown.hasMostDrawn ? "<b class=\"badge\">most drawn</b>" : "") +
            (shown.hasMostDropped ? "<b class=\"badge drop\">most dropped</b>" : "") + "</p>\n";
  }
  html += "<figcaption>" + momentText(picture);
  if (areCounted) html += "<br><span>" + counts + "</span>";
  return html + "</figcaption></figure></li>\n";
}

}  // namespace

std::string reportTitle(const ReportFacts& facts) {
  if (facts.output == kStandardStream) return "standard output";
  const std::filesystem::path path(facts.output);
  return (path.has_filename() ? path : path.parent_path()).filename().string();
}

std::string shareText(uint64_t part, uint64_t whole) {
  if (whole == 0) return "0 %";
  return fixedText(100.0 * static_cast<double>(part) / static_cast<double>(whole), 1) + " %";
}

const DetectionTally* tallyOf(const RenderSummary& summary) {
  return summary.telling && summary.telling->tally() ? &*summary.telling->tally() : nullptr;
}

uint64_t droppedIn(const DetectionTally& tally) {
  uint64_t count = 0;
  for (const auto& [outcome, dropped] : tally.dropped()) count += dropped.count;
  return count;
}

std::string reportHead(const RenderSummary& summary, const ReportFacts& facts) {
  std::string html = "<header>\n<p class=\"eyebrow\">segmask render · report</p>\n<h1>" +
                     nameHtml(reportTitle(facts)) + "</h1>\n<p class=\"lede\">" + lede(summary) +
                     "</p>\n<p class=\"meta\">" + meta(summary, facts) + "</p>\n";
  if (facts.isInterrupted) html += noteHtml("The run was interrupted; this is what it had done by then.");
  return html + "</header>\n";
}

std::string figuresSection(const RenderSummary& summary, const ReportFacts& facts) {
  std::vector<Tile> tiles = detectionTiles(summary);
  tiles.push_back({"Used again", "lookback", grouped(summary.totals.detectionsLookedBack),
                   "look-back of " + countText(facts.lookback, "frame")});
  tiles.push_back({"Frames", "frames", grouped(summary.totals.frames),
                   "drawn on: " + grouped(summary.totals.framesDrawn)});
  tiles.push_back({"Median time", "render_ms.median",
                   millisecondsText(summary.totals.renderTimes.percentile(0.5)), "in render, a frame"});
  tiles.push_back({"99th percentile", "render_ms.p99",
                   millisecondsText(summary.totals.renderTimes.percentile(0.99)), "in render, a frame"});
  if (const Telling* const telling = summary.telling) {
    tiles.push_back({"Pixels changed", "pixels_changed", grouped(telling->pixelsChanged()),
                     "in " + figure("frames_changed", grouped(telling->framesChanged())) + " frames"});
  }
  tiles.push_back(
      {"Damaged", "damaged", grouped(summary.totals.damage.count()), "packets or frames of the input"});
  std::string html = "<dl class=\"tiles\">\n";
  for (const Tile& tile : tiles) html += tileHtml(tile, &tile == &tiles.front());
  return sectionHtml("figures", "Figures", html + "</dl>\n");
}

std::string framesSection(const RenderSummary& summary, const RunReport& report) {
  constexpr std::size_t kSpread = 6;
  const bool areCounted = tallyOf(summary) != nullptr;
  std::string html =
      noteHtml(areCounted ? "Spread over the run, with the first frame for which most detections were "
                            "drawn and the first for which most were dropped."
                          : "Spread over the run.");
  html += "<ol class=\"strip\">\n";
  for (const FrameStrip::Shown& shown : report.strip().pictures(kSpread))
    html += pictureHtml(shown, areCounted);
  return sectionHtml("frames", "Frames", html + "</ol>\n");
}

}  // namespace segmask
