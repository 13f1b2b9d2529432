#include "src/batch/PieceReport.h"

#include <optional>
#include <utility>

#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
#include "io/OutputFile.h"
#include "io/UserError.h"
#include "src/batch/JobRecord.h"
#include "src/json_values.h"

namespace segmask {

void writeReport(const PieceReport& report, const std::string& path) {
  SwJsonArray warnings;
  for (const std::string& warning : report.warnings) warnings.append(warning);
  SwJsonObject object;
  object.insert("totals", totalsJson(report.totals));
  object.insert("first", report.first);
  object.insert("beginning", report.beginning);
  object.insert("reached_end", report.reachedEnd);
  object.insert("has_rest", report.hasRest);
  object.insert("warnings", std::move(warnings));
  OutputFile file(path, path);
  file.write(jsonLine(std::move(object)));
  file.close();
}

PieceReport readReport(const std::string& path) {
  const std::optional<SwJsonObject> object = readJsonFile(path);
  if (!object || !(*object)["totals"].object())
    throw UserError(path + ": its process has not said what it did");
  PieceReport report;
  report.totals = totalsIn(*(*object)["totals"].object());
  report.first = static_cast<uint64_t>((*object)["first"].integer());
  report.beginning = (*object)["beginning"].integer();
  report.reachedEnd = (*object)["reached_end"].boolean();
  report.hasRest = (*object)["has_rest"].boolean();
  const SwJsonArray* const warnings = (*object)["warnings"].array();
  for (std::size_t i = 0; warnings && i < warnings->size(); ++i) {
    report.warnings.push_back((*warnings)[i].text());
  }
  return report;
}

}  // namespace segmask
