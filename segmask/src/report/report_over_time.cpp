#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "host/verdict_words.h"
#include "src/report/html_text.h"
#include "src/report/report_charts.h"
#include "src/report/report_html.h"
#include "src/report/report_sections.h"

namespace segmask {
namespace {

using seg_mask::Outcome;
using Span = RunHistory::Span;

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
    return noteHtml(facts.lookback == 0
                        ? "Without look-back (<code>--lookback 0</code>), no detection is used again."
                        : "Look-back of " + countText(facts.lookback, "frame") +
                              " had nothing to use again.");
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

/// How high a chart of the slowest frames is: a few frames that took far longer than all others, as the first
/// one often does, would leave the others no height. Infinite where there are none such.
double ceilingOf(const std::vector<Span>& spans) {
  constexpr double kFar = 3;  // times what nineteen of twenty spans stay below
  std::vector<double> slowest(spans.size());
  std::transform(spans.begin(), spans.end(), slowest.begin(),
                 [](const Span& span) { return span.slowestMs; });
  std::sort(slowest.begin(), slowest.end());
  const double usual = slowest[(slowest.size() - 1) * 19 / 20];
  return slowest.back() > kFar * usual ? kFar * usual : std::numeric_limits<double>::infinity();
}

std::string timesChart(const std::vector<Span>& spans) {
  ColumnChart chart = chartOver(spans);
  chart.title = "Over the run";
  const bool areMeans = spans.front().frames > 1;
  chart.unit = "Milliseconds in render" +
               (areMeans ? " a frame; spans of " + grouped(spans.front().frames) + " frames" : std::string());
  chart.description = "the time in render of the frames, in their order";
  chart.ceiling = ceilingOf(spans);
  if (std::isfinite(chart.ceiling)) chart.unit += "; columns with a dark end are cut";
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

std::string reasonsTable(const DetectionTally& tally, uint64_t detections) {
  if (tally.dropped().empty()) return noteHtml("No detection was dropped.");
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
         scrollingHtml("Numbers over the frames", html + "</tbody>\n</table>\n") + "</details>\n";
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
         scrollingHtml("Distribution of the time in render", html + "</tbody>\n</table>\n") + "</details>\n";
}

}  // namespace

std::string detectionsSection(const RenderSummary& summary, const RunReport& report,
                              const ReportFacts& facts) {
  const std::vector<Span>& spans = report.history().spans();
  const DetectionTally* const tally = tallyOf(summary);
  std::string html = tally ? detectionsChart(spans, *tally) : noteHtml(kUnknownRules);
  html += lookbackChart(spans, summary, facts);
  if (tally)
    html += scrollingHtml("Why detections were dropped", reasonsTable(*tally, summary.totals.detections));
  return sectionHtml("detections", "Detections over the run", html);
}

std::string timesSection(const RenderSummary& summary, const RunReport& report) {
  const std::vector<Span>& spans = report.history().spans();
  return sectionHtml(
      "times", "Time in render",
      noteHtml("How long the plug-in’s render took for each frame, without reading, uploading and writing. "
               "The percentiles are within 3 %.") +
          histogram(summary.totals.renderTimes) + histogramTable(summary.totals.renderTimes) +
          timesChart(spans) + spansTable(spans, tallyOf(summary)));
}

}  // namespace segmask
