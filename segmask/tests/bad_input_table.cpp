#include "tests/bad_input_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <vector>

namespace {

const std::string kAnything = "...";

/// The cells of "| a | `b` | c |", without blanks and backquotes around them.
std::vector<std::string> cellsOf(const std::string& line) {
  std::vector<std::string> cells;
  for (std::size_t begin = 1, end = 0; (end = line.find('|', begin)) != std::string::npos; begin = end + 1) {
    const std::string cell = line.substr(begin, end - begin);
    const std::size_t first = cell.find_first_not_of(" `");
    const bool blank = first == std::string::npos;
    cells.push_back(blank ? "" : cell.substr(first, cell.find_last_not_of(" `") + 1 - first));
  }
  return cells;
}

}  // namespace

BadInputRow badInputRow(const std::string& test) {
  std::ifstream page(RELIABILITY_PAGE);
  std::vector<BadInputRow> rows;
  for (std::string line; std::getline(page, line);) {
    const std::vector<std::string> cells = cellsOf(line);
    if (cells.size() != 4 || cells[3] != test) continue;
    rows.push_back({cells[1], std::stoi(cells[2])});
  }
  EXPECT_EQ(rows.size(), 1U) << "rows of " << test << " in " << RELIABILITY_PAGE;
  return rows.empty() ? BadInputRow() : rows.front();
}

bool isMessage(const BadInputRow& row, const std::string& message) {
  std::size_t at = 0;
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = row.message.find(kAnything, begin)) != std::string::npos;
       begin = end + kAnything.size()) {
    const std::size_t found = message.find(row.message.substr(begin, end - begin), at);
    if (found == std::string::npos || (begin == 0 && found != 0)) return false;
    at = found + (end - begin);
  }
  const std::string last = row.message.substr(begin);
  if (begin == 0) return message == last;
  return message.size() >= at + last.size() &&
         message.compare(message.size() - last.size(), last.size(), last) == 0;
}
