#pragma once

#include <optional>
#include <string>

#include "io/OutputFile.h"
#include "io/StagedOutput.h"

namespace segmask {

/// A text that appears whole or not at all: as a file (StagedOutput), or on standard output, for which it is
/// kept in a temporary file until the commit. Every error is a UserError, and
/// ClosedPipe where nobody reads it any more.
class TextOutput {
 public:
  /// `target` "-" is standard output. Nothing is printed or replaced before commit().
  explicit TextOutput(const std::string& target);

  void write(const std::string& text);

  /// Gives the text its name, or prints it. No write may follow.
  void commit();

 private:
  void flush();
  void print();

  std::optional<StagedOutput> stage_;  ///< empty for standard output
  OutputFile file_;
  std::string buffer_;
};

}  // namespace segmask
