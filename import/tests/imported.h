#pragma once

#include <string>

#include "import/importers.h"
#include "io/UserError.h"
#include "test_support/TempFolder.h"

namespace segmask {

/// What an import gives.
struct Imported {
  std::string lines;
  std::string error;  ///< empty when there was none
  PassedOver passedOver;
  ClassTable classes;
};

/// Runs importAll(lines, classes), which returns what was passed over, and catches its error.
template <class Import>
Imported imported(const Import& importAll) {
  const TempFolder folder;
  Imported result;
  try {
    TextOutput output(folder.path("lines"));
    DetectionLines lines(output, "p");
    result.passedOver = importAll(lines, result.classes);
    output.finish();
    output.commit();
    result.lines = readFile(folder.path("lines"));
  } catch (const UserError& error) {
    result.error = error.what();
  }
  return result;
}

}  // namespace segmask
