#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

/// How the GPU's benchmarks report: lines of one Markdown table of four columns (what, our time, what stands
/// beside it with its time, its time as a multiple of ours), which scripts/gpu_check puts under one heading.
namespace gpu_check {

inline std::string microseconds(double value) {
  char text[40];
  std::snprintf(text, sizeof text, value < 100.0 ? "%.3g us" : "%.0f us", value);
  return text;
}

inline void printRow(const std::string& what, double oursUs, const std::string& beside, double besideUs) {
  std::printf("| %s | %s | %s %s | %.2f |\n", what.c_str(), microseconds(oursUs).c_str(), beside.c_str(),
              microseconds(besideUs).c_str(), besideUs / oursUs);
}

/// The benchmarks take no arguments; says so on standard error when there is one.
inline bool noArguments(int argc, char** argv) {
  if (argc == 1) return true;
  std::fprintf(stderr, "%s: unknown argument '%s'; it takes none and prints rows of a table\n", argv[0],
               argv[1]);
  return false;
}

/// Not empty.
inline double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace gpu_check
