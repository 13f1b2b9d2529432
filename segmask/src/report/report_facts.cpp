#include <cstdio>

#include "detection/class_color.h"
#include "host/verdict_words.h"
#include "io/file_names.h"
#include "render_base/settings.h"
#include "src/json_values.h"
#include "src/report/html_text.h"
#include "src/report/report_html.h"
#include "src/report/report_sections.h"

namespace segmask {
namespace {

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

}  // namespace

std::string classesSection(const RenderSummary& summary, const RunReport& report) {
  const CountsByKey<int32_t>& classes = report.classes();
  if (!tallyOf(summary)) return sectionHtml("classes", "Classes", noteHtml(kUnknownRules));
  if (classes.counts().empty()) return sectionHtml("classes", "Classes", noteHtml("No detection was read."));
  std::string html = "<ul class=\"classes\">\n";
  for (const auto& [number, counts] : classes.counts())
    html += classHtml(number, counts.drawn, counts.dropped);
  html += "</ul>\n";
  const auto& others = classes.others();
  if (others.drawn + others.dropped > 0) {
    html += noteHtml("Further classes: " + grouped(others.drawn) + " drawn, " + grouped(others.dropped) +
                     " dropped.");
  }
  return sectionHtml("classes", "Classes and their colours", html);
}

std::string producersSection(const RenderSummary& summary, const RunReport& report) {
  const CountsByKey<std::string>& producers = report.producers();
  if (!tallyOf(summary) || producers.counts().empty()) return {};
  std::string html = "<table>\n<thead><tr><th scope=\"col\">Producer</th>" + numberHead("Drawn") +
                     numberHead("Dropped") + "</tr></thead>\n<tbody>\n";
  const auto row = [&html](const std::string& who, uint64_t drawn, uint64_t dropped) {
    html += "<tr><th scope=\"row\">" + who + "</th>" + numberCell(grouped(drawn)) +
            numberCell(grouped(dropped)) + "</tr>\n";
  };
  for (const auto& [producer, counts] : producers.counts())
    row(nameHtml(producer), counts.drawn, counts.dropped);
  const auto& others = producers.others();
  if (others.drawn + others.dropped > 0) row("all others", others.drawn, others.dropped);
  return sectionHtml("producers", "Producers", scrollingHtml("Producers", html + "</tbody>\n</table>\n"));
}

std::string configurationSection(const ReportFacts& facts) {
  std::string html = noteHtml("Plug-in: " + nameHtml(facts.pluginName) + ", <bdi data-figure=\"plugin\">" +
                              htmlText(facts.pluginPath) + "</bdi>");
  if (facts.config) html += "<pre>" + htmlText(*facts.config) + "</pre>\n";
  const std::optional<SwJsonObject> schema = render_base::parseConfiguration(facts.pluginSchema);
  const SwJsonObject* const properties = schema ? (*schema)["properties"].object() : nullptr;
  const std::optional<SwJsonObject> given = facts.config ? render_base::parseConfiguration(*facts.config)
                                                         : std::optional<SwJsonObject>(SwJsonObject());
  if (properties && given) html += scrollingHtml("Settings", settingsTable(*given, *properties));
  return sectionHtml("configuration", "Configuration", html);
}

std::string filesSection(const ReportFacts& facts) {
  std::string html = "<dl class=\"files\">\n";
  for (const ReportFile& file : facts.files) {
    html += "<div><dt>" + file.role + "</dt><dd>" + nameHtml(file.path);
    if (file.bytes) html += " · " + sizeText(*file.bytes);
    html += "</dd><dd>" + (file.sha256.empty() ? "<span class=\"unit\">" + htmlText(file.note) + "</span>"
                                               : "<code>SHA-256 " + file.sha256 + "</code>");
    html += "</dd></div>\n";
  }
  return sectionHtml("files", "Files", html + "</dl>\n");
}

std::string commandLineSection(const ReportFacts& facts) {
  constexpr std::size_t kMostUnbroken = 24;  // characters; longer words are broken where the line ends
  std::string line;
  for (const std::string& word : facts.commandLine) {
    const std::string text = shellText(word);
    if (!line.empty()) line += " ";
    line +=
        text.size() > kMostUnbroken ? nameHtml(text) : "<span class=\"word\">" + htmlText(text) + "</span>";
  }
  return sectionHtml("command", "Command line", "<pre>" + line + "</pre>\n");
}

}  // namespace segmask
