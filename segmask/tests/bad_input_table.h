#pragma once

#include <string>

/// A row of the table of bad input in docs/reliability.md.
struct BadInputRow {
  std::string message;  ///< without "segmask: "; "..." in it stands for any text
  int exitCode = -1;
};

/// The row whose last column names `test`, "Suite.Test". Fails the test when there is none, or more than one.
BadInputRow badInputRow(const std::string& test);

/// Whether `message` is what the row says.
bool isMessage(const BadInputRow& row, const std::string& message);
