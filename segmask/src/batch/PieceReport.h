#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "src/render/RenderTotals.h"

namespace segmask {

/// What the process of a piece leaves for the join, beside the piece.
struct PieceReport {
  RenderTotals totals;
  uint64_t first = 0;     ///< the number of the piece's first frame in the input
  int64_t beginning = 0;  ///< the input's time from which the output's times count

  // Of the last piece.
  bool reachedEnd = false;            ///< of the input
  bool hasRest = false;               ///< there are lines past the input's end
  std::vector<std::string> warnings;  ///< of the lines of all pieces
};

/// Throws UserError.
void writeReport(const PieceReport& report, const std::string& path);
PieceReport readReport(const std::string& path);

/// A warning of a run that has changed nothing.
constexpr char kNothingVisible[] =
    "nothing is visible: no pixel of any frame has changed, though there are detections (see the summary)";

}  // namespace segmask
