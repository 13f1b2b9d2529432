#include "src/report/report_charts.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "src/report/html_text.h"

namespace segmask {
namespace {

using Part = ColumnChart::Part;
using Column = ColumnChart::Column;

std::string percent(double part) {
  return fixedText(100 * part, 3) + "%";
}

double sumOf(const std::vector<Part>& parts) {
  double sum = 0;
  for (const Part& part : parts) sum += part.value;
  return sum;
}

/// The vertical axis: values from -down to up, marked at round numbers.
struct Scale {
  double up = 0;
  double down = 0;
  std::vector<double> marks;  ///< negative ones below the axis

  /// The place of a value, as a part of the height from the top.
  double place(double value) const { return (up - value) / (up + down); }
};

Scale scaleOf(const ColumnChart& chart) {
  constexpr int kMostMarks = 4;
  double up = 0;
  double down = 0;
  for (const Column& column : chart.columns) {
    up = std::max(up, sumOf(column.up));
    down = std::max(down, sumOf(column.down));
  }
  up = std::min(up, chart.ceiling);
  if (up + down <= 0) up = 1;
  const std::vector<double> numbers = roundNumbers(0, up + down, kMostMarks);
  const double step = numbers.size() > 1 ? numbers[1] : up + down;
  Scale scale;
  scale.up = step * std::ceil(up / step - 1e-9);
  scale.down = step * std::ceil(down / step - 1e-9);
  const auto above = static_cast<int>(std::lround(scale.up / step));
  const auto below = static_cast<int>(std::lround(scale.down / step));
  for (int i = -below; i <= above; ++i) scale.marks.push_back(i * step);
  return scale;
}

std::string rectangle(const std::string& style, double x, double width, double y, double height) {
  return "<rect class=\"" + style + "\" x=\"" + percent(x) + "\" width=\"" + percent(width) + "\" y=\"" +
         percent(y) + "\" height=\"" + percent(height) + "\"/>";
}

/// With a gap to the next one where columns are wide enough for it.
std::string columnSvg(const ColumnChart& chart, const Column& column, const Scale& scale) {
  const double width = column.to - column.from;
  const double inner = width > 1.0 / 70 ? 0.85 * width : width;
  const double x = column.from + (width - inner) / 2;
  constexpr double kCutMark = 0.04;  // of the chart's height
  std::string svg = "<g>";
  if (!column.says.empty()) svg += "<title>" + htmlText(column.says) + "</title>";
  double top = 0;
  for (const Part& part : column.up) {
    const double next = std::min(top + part.value, scale.up);
    if (next <= top) continue;
    svg += rectangle(chart.series[part.series].style, x, inner, scale.place(next),
                     scale.place(top) - scale.place(next));
    top = next;
  }
  if (sumOf(column.up) > scale.up) svg += rectangle("cut", x, inner, 0, kCutMark);
  double bottom = 0;
  for (const Part& part : column.down) {
    if (part.value <= 0) continue;
    const double next = bottom - part.value;
    svg += rectangle(chart.series[part.series].style, x, inner, scale.place(bottom),
                     scale.place(next) - scale.place(bottom));
    bottom = next;
  }
  return svg + rectangle("over", column.from, width, 0, 1) + "</g>\n";
}

std::string line(const std::string& style, double x1, double y1, double x2, double y2) {
  return "<line class=\"" + style + "\" x1=\"" + percent(x1) + "\" y1=\"" + percent(y1) + "\" x2=\"" +
         percent(x2) + "\" y2=\"" + percent(y2) + "\"/>";
}

std::string drawing(const ColumnChart& chart, const Scale& scale) {
  std::string svg =
      R"(<svg role="img" aria-label=")" + htmlText(chart.title + ": " + chart.description) + "\">\n";
  for (const double mark : scale.marks) {
    svg += line(mark == 0 ? "axis" : "grid", 0, scale.place(mark), 1, scale.place(mark));
  }
  svg += "\n";
  for (const Column& column : chart.columns) svg += columnSvg(chart, column, scale);
  for (const ColumnChart::Mark& mark : chart.marks) svg += line(mark.style, mark.at, 0, mark.at, 1);
  return svg + "</svg>\n";
}

/// Labels beside the SVG, so that they keep their size when it is stretched.
std::string labels(const ColumnChart& chart, const Scale& scale) {
  std::string html = R"(<div class="y" aria-hidden="true">)";
  for (const double mark : scale.marks) {
    html += "<span style=\"top:" + percent(scale.place(mark)) + "\">" + axisText(std::abs(mark)) + "</span>";
  }
  html += "</div>\n<div class=\"x\" aria-hidden=\"true\">";
  for (const auto& [at, text] : chart.ticks) {
    const char* const side = at < 0.06 ? "first" : at > 0.94 ? "last" : "mid";
    html += std::string("<span class=\"") + side + "\" style=\"left:" + percent(at) + "\">" + htmlText(text) +
            "</span>";
  }
  return html + "</div>\n<p class=\"axisname\" aria-hidden=\"true\">" + htmlText(chart.axis) + "</p>\n";
}

std::string legendEntry(const std::string& key, const std::string& name) {
  return R"(<li><svg class="key" aria-hidden="true">)" + key + "</svg>" + htmlText(name) + "</li>";
}

/// Empty where the chart shows one thing alone.
std::string legend(const ColumnChart& chart) {
  if (chart.series.size() + chart.marks.size() < 2) return {};
  std::string html = "<ul class=\"legend\">";
  for (const ColumnChart::Series& series : chart.series) {
    html += legendEntry(rectangle(series.style, 0, 1, 0, 1), series.name);
  }
  for (const ColumnChart::Mark& mark : chart.marks) {
    html += legendEntry(line(mark.style, 0.5, 0, 0.5, 1), mark.text);
  }
  return html + "</ul>\n";
}

}  // namespace

std::string chartHtml(const ColumnChart& chart) {
  const Scale scale = scaleOf(chart);
  return "<div class=\"chart\">\n<h3>" + htmlText(chart.title) + "</h3>\n<p class=\"unit\">" +
         htmlText(chart.unit) + "</p>\n" + legend(chart) + "<div class=\"plot\">\n" + drawing(chart, scale) +
         labels(chart, scale) + "</div>\n</div>\n";
}

std::vector<double> roundNumbers(double from, double to, int most) {
  const double rough = (to - from) / most;
  if (!(rough > 0)) return {from};
  const double power = std::pow(10, std::floor(std::log10(rough)));
  const double digit = rough / power;
  const double step = power * (digit <= 1 ? 1 : digit <= 2 ? 2 : digit <= 5 ? 5 : 10);
  std::vector<double> numbers;
  const auto last = static_cast<int64_t>(std::floor(to / step + 1e-9));
  for (auto i = static_cast<int64_t>(std::ceil(from / step)); i <= last; ++i) {
    numbers.push_back(static_cast<double>(i) * step);
  }
  return numbers;
}

std::vector<double> roundNumbersOnLogAxis(double from, double to, std::size_t most) {
  const std::vector<std::vector<double>> choices{{1},
                                                 {1, 3},
                                                 {1, 2, 5},
                                                 {1, 1.5, 2, 3, 5, 7},
                                                 {1, 1.2, 1.4, 1.6, 1.8, 2, 2.5, 3, 3.5, 4, 5, 6, 7, 8, 9}};
  const auto first = static_cast<int>(std::floor(std::log10(from)));
  const auto last = static_cast<int>(std::floor(std::log10(to)));
  std::vector<double> numbers;
  for (const std::vector<double>& digits : choices) {
    std::vector<double> finer;
    for (int exponent = first; exponent <= last; ++exponent) {
      const double power = std::pow(10, exponent);
      for (const double digit : digits) {
        if (digit * power >= from && digit * power <= to) finer.push_back(digit * power);
      }
    }
    if (finer.size() > most) break;
    numbers = finer;
  }
  return numbers;
}

std::string axisText(double number) {
  std::string text = fixedText(number, number >= 100 ? 0 : number >= 1 ? 2 : 4);
  if (text.find('.') != std::string::npos) {
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
  }
  return text;
}

}  // namespace segmask
