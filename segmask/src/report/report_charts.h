#pragma once

#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace segmask {

/// A chart of columns side by side, as HTML with an inline SVG that fills the width that it gets. Its labels
/// keep their size whatever that is. Texts are plain text, which the chart makes HTML.
struct ColumnChart {
  /// A part of a column and its series.
  struct Part {
    std::size_t series;  ///< index in `series`
    double value;        ///< 0 or more, in the chart's unit
  };

  /// One column, from `from` to `to` of the chart's width, which is 1.
  struct Column {
    double from = 0;
    double to = 0;
    std::vector<Part> up;    ///< above the axis, from it outwards
    std::vector<Part> down;  ///< below it
    std::string says;        ///< what is shown when the pointer is over it
  };

  struct Series {
    std::string style;  ///< the class of its parts, of the report's style sheet
    std::string name;
  };

  /// A line across the columns.
  struct Mark {
    std::string style;  ///< its class
    double at;          ///< of the chart's width
    std::string text;   ///< in the legend
  };

  std::string title;
  std::string unit;         ///< of the values: what the vertical axis counts
  std::string description;  ///< what the chart shows, in a sentence, for those who do not see it
  std::vector<Series> series;
  std::vector<Column> columns;
  std::vector<std::pair<double, std::string>> ticks;  ///< of the horizontal axis: place of the width, label
  std::string axis;                                   ///< its name, with the unit
  std::vector<Mark> marks;
  /// Of the vertical axis: columns that are higher are cut, with a mark at the cut.
  double ceiling = std::numeric_limits<double>::infinity();
};

/// The chart, under a heading of the third level.
std::string chartHtml(const ColumnChart& chart);

/// Round numbers from `from` to `to`, at most about `most` of them, for an axis that is linear.
std::vector<double> roundNumbers(double from, double to, int most);

/// The same for an axis that is logarithmic; `from` is above 0.
std::vector<double> roundNumbersOnLogAxis(double from, double to, std::size_t most);

/// A number of an axis, with as few digits as it needs.
std::string axisText(double number);

}  // namespace segmask
