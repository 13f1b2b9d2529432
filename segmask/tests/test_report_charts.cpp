#include <gtest/gtest.h>

#include "src/report/report_charts.h"

namespace segmask {
namespace {

using Numbers = std::vector<double>;
using Texts = std::vector<std::string>;

Texts textsOf(const Numbers& numbers) {
  Texts texts;
  for (const double number : numbers) texts.push_back(axisText(number));
  return texts;
}

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(ReportCharts, AxesHaveRoundNumbers) {
  EXPECT_EQ(roundNumbers(0, 8, 4), (Numbers{0, 2, 4, 6, 8}));
  EXPECT_EQ(roundNumbers(250, 1290, 5), (Numbers{500, 1000}));
  EXPECT_EQ(roundNumbers(7, 7, 5), Numbers{7});
  EXPECT_EQ(textsOf(roundNumbersOnLogAxis(0.09, 12, 6)), (Texts{"0.1", "0.3", "1", "3", "10"}));
  EXPECT_EQ(textsOf(roundNumbersOnLogAxis(0.22, 0.41, 6)), (Texts{"0.25", "0.3", "0.35", "0.4"}));
  EXPECT_EQ(textsOf(roundNumbersOnLogAxis(2.0, 2.1, 6)), Texts{"2"});
}

TEST(ReportCharts, NumbersOfAnAxisHaveAsFewDigitsAsTheyNeed) {
  EXPECT_EQ(axisText(0), "0");
  EXPECT_EQ(axisText(1200), "1200");
  EXPECT_EQ(axisText(2.5), "2.5");
  EXPECT_EQ(axisText(0.035), "0.035");
}

TEST(ReportCharts, PartsStandOnTheAxisAndUponEachOther) {
  ColumnChart chart;
  chart.series = {{"drawn", "drawn"}, {"r1", "faint"}, {"r2", "beyond"}};
  chart.columns.push_back({0, 0.5, {{0, 4}}, {}, "the first"});
  chart.columns.push_back({0.5, 1, {{0, 2}, {1, 1}}, {{1, 2}, {2, 2}}, "the second"});
  const std::string html = chartHtml(chart);
  // From 4 above the axis to 4 below it; columns are 0.85 of their place wide.
  EXPECT_TRUE(holds(html, R"(<rect class="drawn" x="3.750%" width="42.500%" y="0.000%" height="50.000%"/>)"));
  EXPECT_TRUE(
      holds(html, R"(<rect class="drawn" x="53.750%" width="42.500%" y="25.000%" height="25.000%"/>)"));
  EXPECT_TRUE(holds(html, R"(<rect class="r1" x="53.750%" width="42.500%" y="12.500%" height="12.500%"/>)"));
  EXPECT_TRUE(holds(html, R"(<rect class="r1" x="53.750%" width="42.500%" y="50.000%" height="25.000%"/>)"));
  EXPECT_TRUE(holds(html, R"(<rect class="r2" x="53.750%" width="42.500%" y="75.000%" height="25.000%"/>)"));
  EXPECT_TRUE(holds(html, "<title>the second</title>"));
}

TEST(ReportCharts, ColumnsAboveTheCeilingAreCutAndMarked) {
  ColumnChart chart;
  chart.series = {{"drawn", "drawn"}, {"r1", "slowest"}};
  chart.columns.push_back({0, 0.5, {{0, 10}, {1, 90}}, {}, "the first"});
  chart.columns.push_back({0.5, 1, {{0, 1}, {1, 3}}, {}, "the second"});
  chart.ceiling = 4;
  const std::string html = chartHtml(chart);
  EXPECT_TRUE(
      holds(html, R"(<rect class="drawn" x="3.750%" width="42.500%" y="0.000%" height="100.000%"/>)"));
  EXPECT_TRUE(holds(html, R"(<rect class="cut" x="3.750%" width="42.500%" y="0.000%" height="4.000%"/>)"));
  EXPECT_TRUE(holds(html, R"(<rect class="r1" x="53.750%" width="42.500%" y="0.000%" height="75.000%"/>)"));
  EXPECT_FALSE(holds(html, R"(<rect class="cut" x="53)"));
}

TEST(ReportCharts, TextsAreNoMarkup) {
  ColumnChart chart;
  chart.title = chart.unit = chart.description = chart.axis = "<b>\"";
  chart.series = {{"drawn", "<b>"}, {"r1", "<b>"}};
  chart.columns.push_back({0, 1, {{0, 1}}, {}, "<b>"});
  chart.ticks.emplace_back(0.5, "<b>");
  chart.marks.push_back({"mark", 0.5, "<b>"});
  EXPECT_FALSE(holds(chartHtml(chart), "<b>"));
}

}  // namespace
}  // namespace segmask
