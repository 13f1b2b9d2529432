#include "src/report/report_page.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "detection/class_color.h"
#include "host/verdict_words.h"
#include "io/FileDescriptor.h"
#include "render_base/settings.h"
#include "src/json_output.h"
#include "src/report/html_text.h"
#include "src/report/report_charts.h"
#include "src/report/report_style.h"

namespace segmask {
namespace {

using seg_mask::Outcome;
using Span = RunHistory::Span;

/// A name from outside, kept from changing the direction of the text around it.
std::string name(const std::string& text) {
  return "<bdi>" + htmlText(text) + "</bdi>";
}

/// What the page is called: the output, without its folder.
std::string titleOf(const ReportFacts& facts) {
  if (facts.output == kStandardStream) return "standard output";
  const std::filesystem::path path(facts.output);
  return (path.has_filename() ? path : path.parent_path()).filename().string();
}

std::string section(const std::string& id, const std::string& heading, const std::string& content) {
  return "<section aria-labelledby=\"" + id + "\">\n<h2 id=\"" + id + "\">" + heading + "</h2>\n" + content +
         "</section>\n";
}

std::string note(const std::string& html) {
  return "<p class=\"note\">" + html + "</p>\n";
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

// ---- The head of the page, and its figures

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

std::string header(const RenderSummary& summary, const ReportFacts& facts) {
  std::string html = "<header>\n<p class=\"eyebrow\">segmask render · report</p>\n<h1>" +
                     name(titleOf(facts)) + "</h1>\n<p class=\"lede\">" + lede(summary) +
                     "</p>\n<p class=\"meta\">" + meta(summary, facts) + "</p>\n";
  if (facts.isInterrupted) html += note("The run was interrupted; this is what it had done by then.");
  return html + "</header>\n";
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

std::string figures(const RenderSummary& summary, const ReportFacts& facts) {
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
  return section("figures", "Figures", html + "</dl>\n");
}

// ---- The strip

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

std::string strip(const RenderSummary& summary, const RunReport& report) {
  constexpr std::size_t kSpread = 6;
  const bool areCounted = tallyOf(summary) != nullptr;
  std::string html =
      note(areCounted ? "Spread over the run, with the first frame for which most detections were "
                        "drawn and the first for which most were dropped."
                      : "Spread over the run.");
  html += "<ol class=\"strip\">\n";
  for (const FrameStrip::Shown& shown : report.strip().pictures(kSpread))
    html += pictureHtml(shown, areCounted);
  return section("frames", "Frames", html + "</ol>\n");
}

// ---- Charts over the frames

const char* styleOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::Drawn:
      return "drawn";
    case Outcome::LowScore:
      return "r1";
    case Outcome::OverCap:
      return "r2";
    case Outcome::InvalidMask:
      return "r3";
    case Outcome::BoxOutside:
      return "r4";
    case Outcome::NoPixelInBox:
      return "r5";
    case Outcome::NotAnObject:
      return "r6";
  }
  return "";
}

std::string framesText(const Span& span) {
  std::string text = span.first == span.last ? "frame " + grouped(span.first)
                                             : "frames " + grouped(span.first) + " to " + grouped(span.last);
  if (span.seconds) text += " (" + timeText(*span.seconds) + ")";
  return text;
}

double meanOf(uint64_t count, const Span& span) {
  return static_cast<double>(count) / static_cast<double>(span.frames);
}

/// A chart of the spans side by side, still without series and parts.
ColumnChart chartOver(const std::vector<Span>& spans) {
  constexpr int kMostTicks = 5;
  ColumnChart chart;
  chart.axis = "frame number";
  const uint64_t first = spans.front().first;
  const auto frames = static_cast<double>(spans.back().last - first + 1);
  const auto place = [&](uint64_t number) { return static_cast<double>(number - first) / frames; };
  for (const Span& span : spans)
    chart.columns.push_back({place(span.first), place(span.last + 1), {}, {}, {}});
  const auto last = static_cast<double>(spans.back().last);
  for (const double number : roundNumbers(static_cast<double>(first), last, kMostTicks)) {
    const auto frame = static_cast<uint64_t>(number);
    if (static_cast<double>(frame) != number) continue;
    chart.ticks.emplace_back(place(frame) + 0.5 / frames, grouped(frame));
  }
  return chart;
}

std::string perFrame(const std::vector<Span>& spans, const std::string& what) {
  const uint64_t frames = spans.front().frames;
  return frames == 1 ? what + " in each frame"
                     : what + " a frame, mean of each " + grouped(frames) + " frames";
}

std::string detectionsChart(const std::vector<Span>& spans, const DetectionTally& tally) {
  ColumnChart chart = chartOver(spans);
  const bool hasDropped = !tally.dropped().empty();
  chart.title = hasDropped ? "Drawn and dropped" : "Drawn";
  chart.unit = perFrame(spans, "Detections") + (hasDropped ? "; drawn above the axis, dropped below" : "");
  chart.description = countText(tally.drawn(), "detection") + " drawn and " + grouped(droppedIn(tally)) +
                      " dropped over the run; the table below has the numbers";
  chart.series.push_back({styleOf(Outcome::Drawn), "drawn"});
  for (const auto& [outcome, dropped] : tally.dropped()) {
    chart.series.push_back({styleOf(outcome), reasonOf(outcome)});
  }
  for (std::size_t i = 0; i < spans.size(); ++i) {
    const Span& span = spans[i];
    ColumnChart::Column& column = chart.columns[i];
    column.up.push_back({0, meanOf(span.counts.drawn(), span)});
    column.says = framesText(span) + ": " + grouped(span.counts.drawn()) + " drawn";
    std::size_t series = 0;
    for (const auto& [outcome, dropped] : tally.dropped()) {
      column.down.push_back({++series, meanOf(span.counts.of(outcome), span)});
      if (span.counts.of(outcome) == 0) continue;
      column.says += ", " + grouped(span.counts.of(outcome)) + " dropped: " + reasonOf(outcome);
    }
  }
  return chartHtml(chart);
}

std::string lookbackChart(const std::vector<Span>& spans, const RenderSummary& summary,
                          const ReportFacts& facts) {
  if (summary.totals.detectionsLookedBack == 0) {
    return note(facts.lookback == 0
                    ? "Without look-back (<code>--lookback 0</code>), no detection is used again."
                    : "Look-back of " + countText(facts.lookback, "frame") + " had nothing to use again.");
  }
  ColumnChart chart = chartOver(spans);
  chart.title = "Look-back";
  chart.unit =
      perFrame(spans, "Detections used again") + "; look-back of " + countText(facts.lookback, "frame");
  chart.description =
      countText(summary.totals.detectionsLookedBack, "detection") + " used again over the run";
  chart.series.push_back({"faint", "used again"});
  for (std::size_t i = 0; i < spans.size(); ++i) {
    const uint64_t count = spans[i].counts.lookedBack;
    chart.columns[i].up.push_back({0, meanOf(count, spans[i])});
    chart.columns[i].says = framesText(spans[i]) + ": " + grouped(count) + " used again";
  }
  return chartHtml(chart);
}

std::string timesChart(const std::vector<Span>& spans) {
  ColumnChart chart = chartOver(spans);
  chart.title = "Over the run";
  const bool areMeans = spans.front().frames > 1;
  chart.unit = "Milliseconds in render" +
               (areMeans ? " a frame; spans of " + grouped(spans.front().frames) + " frames" : std::string());
  chart.description = "the time in render of the frames, in their order";
  chart.series.push_back({"drawn", areMeans ? "mean" : "time"});
  if (areMeans) chart.series.push_back({"faint", "slowest frame"});
  for (std::size_t i = 0; i < spans.size(); ++i) {
    const double mean = spans[i].renderMs / static_cast<double>(spans[i].frames);
    std::vector<ColumnChart::Part>& parts = chart.columns[i].up;
    parts.push_back({0, mean});
    if (areMeans) parts.push_back({1, spans[i].slowestMs - mean});
    chart.columns[i].says = framesText(spans[i]) + ": " + (areMeans ? "mean " : "") + millisecondsText(mean) +
                            (areMeans ? ", slowest " + millisecondsText(spans[i].slowestMs) : std::string());
  }
  return chartHtml(chart);
}

std::string histogram(const RenderTimes& times) {
  constexpr std::size_t kMostBars = 48;
  constexpr std::size_t kMostTicks = 6;
  const std::vector<RenderTimes::Bar> bars = times.bars(kMostBars);
  const double median = times.percentile(0.5);
  const double p99 = times.percentile(0.99);
  ColumnChart chart;
  chart.title = "Distribution";
  chart.unit = "Frames by their time in render";
  chart.axis = "milliseconds, on a logarithmic scale";
  chart.description = "from " + millisecondsText(bars.front().from) + " to " +
                      millisecondsText(bars.back().to) + ", median " + millisecondsText(median) +
                      ", 99th percentile " + millisecondsText(p99);
  chart.series.push_back({"drawn", "frames"});
  const double low = std::log(bars.front().from);
  const double range = std::log(bars.back().to) - low;
  const auto place = [&](double milliseconds) {
    return std::clamp((std::log(milliseconds) - low) / range, 0.0, 1.0);
  };
  for (const RenderTimes::Bar& bar : bars) {
    chart.columns.push_back({place(bar.from),
                             place(bar.to),
                             {{0, static_cast<double>(bar.count)}},
                             {},
                             millisecondsText(bar.from) + " to " + millisecondsText(bar.to) + ": " +
                                 countText(bar.count, "frame")});
  }
  for (const double number : roundNumbersOnLogAxis(bars.front().from, bars.back().to, kMostTicks)) {
    chart.ticks.emplace_back(place(number), axisText(number));
  }
  chart.marks.push_back({"mark", place(median), "median " + millisecondsText(median)});
  chart.marks.push_back({"mark far", place(p99), "99th percentile " + millisecondsText(p99)});
  return chartHtml(chart);
}

// ---- Tables

std::string scrolling(const std::string& label, const std::string& table) {
  return R"(<div class="scroll" role="region" tabindex="0" aria-label=")" + label + "\">\n" + table +
         "</div>\n";
}

std::string numberCell(const std::string& text) {
  return "<td class=\"number\">" + text + "</td>";
}

std::string numberHead(const std::string& text) {
  return R"(<th scope="col" class="number">)" + text + "</th>";
}

std::string reasonsTable(const DetectionTally& tally, uint64_t detections) {
  if (tally.dropped().empty()) return note("No detection was dropped.");
  std::string html =
      "<table>\n<caption>Why detections were dropped</caption>\n<thead><tr><th scope=\"col\">Reason</th>" +
      numberHead("Detections") + numberHead("Of all") + "</tr></thead>\n<tbody>\n";
  for (const auto& [outcome, dropped] : tally.dropped()) {
    html += "<tr><th scope=\"row\">" + htmlText(reasonOf(outcome)) + "<small>first: line " +
            grouped(dropped.lineNumber) + ", detections[" + std::to_string(dropped.index) +
            "]: " + htmlText(dropped.why) + R"(</small></th><td class="number" data-figure="dropped.)" +
            seg_mask::outcomeWord(outcome) + "\">" + grouped(dropped.count) + "</td>" +
            numberCell(shareText(dropped.count, detections)) + "</tr>\n";
  }
  return html + "</tbody>\n</table>\n";
}

/// The numbers behind the charts over the frames.
std::string spansTable(const std::vector<Span>& spans, const DetectionTally* tally) {
  std::string head = "<th scope=\"col\">Frames</th>";
  if (spans.front().seconds) head += numberHead("From");
  if (tally) {
    head += numberHead("Drawn");
    for (const auto& [outcome, dropped] : tally->dropped()) head += numberHead(htmlText(reasonOf(outcome)));
  }
  head += numberHead("Used again") + numberHead("Mean ms") + numberHead("Slowest ms");
  std::string html = "<table>\n<thead><tr>" + head + "</tr></thead>\n<tbody>\n";
  for (const Span& span : spans) {
    html += "<tr><th scope=\"row\">" + grouped(span.first) +
            (span.last > span.first ? "–" + grouped(span.last) : std::string()) + "</th>";
    if (span.seconds) html += numberCell(timeText(*span.seconds));
    if (tally) {
      html += numberCell(grouped(span.counts.drawn()));
      for (const auto& [outcome, dropped] : tally->dropped())
        html += numberCell(grouped(span.counts.of(outcome)));
    }
    html += numberCell(grouped(span.counts.lookedBack)) +
            numberCell(fixedText(span.renderMs / static_cast<double>(span.frames), 3)) +
            numberCell(fixedText(span.slowestMs, 3)) + "</tr>\n";
  }
  return "<details>\n<summary>The numbers of these charts as a table</summary>\n" +
         scrolling("Numbers over the frames", html + "</tbody>\n</table>\n") + "</details>\n";
}

std::string histogramTable(const RenderTimes& times) {
  constexpr std::size_t kMostRows = 24;
  std::string html = "<table>\n<thead><tr>" + numberHead("From, ms") + numberHead("To, ms") +
                     numberHead("Frames") + "</tr></thead>\n<tbody>\n";
  for (const RenderTimes::Bar& bar : times.bars(kMostRows)) {
    html += "<tr>" + numberCell(fixedText(bar.from, 3)) + numberCell(fixedText(bar.to, 3)) +
            numberCell(grouped(bar.count)) + "</tr>\n";
  }
  return "<details>\n<summary>The distribution as a table</summary>\n" +
         scrolling("Distribution of the time in render", html + "</tbody>\n</table>\n") + "</details>\n";
}

const char kUnknownRules[] =
    "Which detections were drawn and which were dropped is not known: the run was told not to find out "
    "(<code>--no-explain</code>), or the rules of its plug-in are not known.";

std::string detections(const RenderSummary& summary, const RunReport& report, const ReportFacts& facts) {
  const std::vector<Span>& spans = report.history().spans();
  const DetectionTally* const tally = tallyOf(summary);
  std::string html = tally ? detectionsChart(spans, *tally) : note(kUnknownRules);
  html += lookbackChart(spans, summary, facts);
  if (tally)
    html += scrolling("Why detections were dropped", reasonsTable(*tally, summary.totals.detections));
  return section("detections", "Detections over the run", html);
}

std::string times(const RenderSummary& summary, const RunReport& report) {
  const std::vector<Span>& spans = report.history().spans();
  return section(
      "times", "Time in render",
      note("How long the plug-in’s render took for each frame, without reading, uploading and writing. "
           "The percentiles are within 3 %.") +
          histogram(summary.totals.renderTimes) + histogramTable(summary.totals.renderTimes) +
          timesChart(spans) + spansTable(spans, tallyOf(summary)));
}

// ---- What occurred, and what the run was told

std::string hexColor(seg_mask::RgbColor color) {
  char text[8];
  std::snprintf(text, sizeof text, "#%02x%02x%02x", color.r, color.g, color.b);
  return text;
}

std::string classHtml(int32_t number, uint64_t drawn, uint64_t dropped) {
  const std::string color = hexColor(seg_mask::paletteColor(number));
  return R"(<li><svg aria-hidden="true"><rect width="100%" height="100%" fill=")" + color +
         "\"/></svg><span>Class " + std::to_string(number) + ", <code>" + color + "</code><small>" +
         grouped(drawn) + " drawn, " + grouped(dropped) + " dropped</small></span></li>\n";
}

std::string classes(const RenderSummary& summary, const RunReport& report) {
  const CountsByKey<int32_t>& classes = report.classes();
  if (!tallyOf(summary)) return section("classes", "Classes", note(kUnknownRules));
  if (classes.counts().empty()) return section("classes", "Classes", note("No detection was read."));
  std::string html = "<ul class=\"classes\">\n";
  for (const auto& [number, counts] : classes.counts())
    html += classHtml(number, counts.drawn, counts.dropped);
  html += "</ul>\n";
  const auto& others = classes.others();
  if (others.drawn + others.dropped > 0) {
    html += note("Further classes: " + grouped(others.drawn) + " drawn, " + grouped(others.dropped) +
                 " dropped.");
  }
  return section("classes", "Classes and their colours", html);
}

std::string producers(const RenderSummary& summary, const RunReport& report) {
  const CountsByKey<std::string>& producers = report.producers();
  if (!tallyOf(summary) || producers.counts().empty()) return {};
  std::string html = "<table>\n<thead><tr><th scope=\"col\">Producer</th>" + numberHead("Drawn") +
                     numberHead("Dropped") + "</tr></thead>\n<tbody>\n";
  const auto row = [&html](const std::string& who, uint64_t drawn, uint64_t dropped) {
    html += "<tr><th scope=\"row\">" + who + "</th>" + numberCell(grouped(drawn)) +
            numberCell(grouped(dropped)) + "</tr>\n";
  };
  for (const auto& [producer, counts] : producers.counts()) row(name(producer), counts.drawn, counts.dropped);
  const auto& others = producers.others();
  if (others.drawn + others.dropped > 0) row("all others", others.drawn, others.dropped);
  return section("producers", "Producers", scrolling("Producers", html + "</tbody>\n</table>\n"));
}

std::string rangeText(const SwJsonObject& rules) {
  const SwJsonValue* const minimum = rules.find("minimum");
  const SwJsonValue* const maximum = rules.find("maximum");
  return minimum && maximum ? jsonLine(*minimum) + " to " + jsonLine(*maximum) : std::string();
}

/// A row for each setting of the plug-in's schema, and for each further key that was given.
std::string settingsTable(const SwJsonObject& given, const SwJsonObject& properties) {
  std::string html =
      "<table>\n<thead><tr><th scope=\"col\">Setting</th><th scope=\"col\">Value</th><th "
      "scope=\"col\">Source</th>"
      "<th scope=\"col\">Range</th></tr></thead>\n<tbody>\n";
  const auto row = [&html](const std::string& key, const SwJsonValue& value, const std::string& source,
                           const std::string& range) {
    html += "<tr><th scope=\"row\"><code>" + htmlText(key) + "</code></th><td><code>" +
            htmlText(jsonLine(value)) + "</code></td><td>" + source + "</td><td>" + htmlText(range) +
            "</td></tr>\n";
  };
  for (const auto& [key, rules] : properties) {
    const SwJsonObject* const rulesObject = rules.object();
    const SwJsonValue* const value = given.find(key);
    const SwJsonObject none;
    const SwJsonObject& known = rulesObject ? *rulesObject : none;
    row(key, value ? *value : known["default"], value ? "given" : "default", rangeText(known));
  }
  for (const auto& [key, value] : given) {
    if (!properties.contains(key)) row(key, value, "given; the plug-in has no such setting", "");
  }
  return html + "</tbody>\n</table>\n";
}

std::string configuration(const ReportFacts& facts) {
  std::string html = note("Plug-in: " + name(facts.pluginName) + ", <bdi data-figure=\"plugin\">" +
                          htmlText(facts.pluginPath) + "</bdi>");
  if (facts.config) html += "<pre>" + htmlText(*facts.config) + "</pre>\n";
  const std::optional<SwJsonObject> schema = render_base::parseConfiguration(facts.pluginSchema);
  const SwJsonObject* const properties = schema ? (*schema)["properties"].object() : nullptr;
  const std::optional<SwJsonObject> given = facts.config ? render_base::parseConfiguration(*facts.config)
                                                         : std::optional<SwJsonObject>(SwJsonObject());
  if (properties && given) html += scrolling("Settings", settingsTable(*given, *properties));
  return section("configuration", "Configuration", html);
}

std::string files(const ReportFacts& facts) {
  std::string html = "<dl class=\"files\">\n";
  for (const ReportFile& file : facts.files) {
    html += "<div><dt>" + file.role + "</dt><dd>" + name(file.path);
    if (file.bytes) html += " · " + sizeText(*file.bytes);
    html += "</dd><dd>" + (file.sha256.empty() ? "<span class=\"unit\">" + htmlText(file.note) + "</span>"
                                               : "<code>SHA-256 " + file.sha256 + "</code>");
    html += "</dd></div>\n";
  }
  return section("files", "Files", html + "</dl>\n");
}

std::string commandLine(const ReportFacts& facts) {
  constexpr std::size_t kMostUnbroken = 24;  // characters; longer words are broken where the line ends
  std::string line;
  for (const std::string& word : facts.commandLine) {
    const std::string text = shellText(word);
    if (!line.empty()) line += " ";
    line +=
        text.size() > kMostUnbroken ? htmlText(text) : "<span class=\"word\">" + htmlText(text) + "</span>";
  }
  return section("command", "Command line", "<pre>" + line + "</pre>\n");
}

}  // namespace

std::string reportPage(const RenderSummary& summary, const RunReport& report, const ReportFacts& facts) {
  const std::string title = htmlText(titleOf(facts));
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         R"(<meta http-equiv="Content-Security-Policy" content="default-src 'none'; img-src data:; )"
         "style-src "
         "'unsafe-inline'; base-uri 'none'; form-action 'none'\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
         title + " · segmask report</title>\n<style>" + kReportStyle + "</style>\n</head>\n<body>\n" +
         header(summary, facts) + "<main>\n" + figures(summary, facts) + strip(summary, report) +
         detections(summary, report, facts) + times(summary, report) + classes(summary, report) +
         producers(summary, report) + configuration(facts) + files(facts) + commandLine(facts) +
         "</main>\n<footer>One file: it fetches nothing and runs no script.</footer>\n</body>\n</html>\n";
}

}  // namespace segmask
