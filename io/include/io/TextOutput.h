#pragma once

#include <optional>
#include <string>

#include "io/OutputFile.h"
#include "io/StagedOutput.h"

namespace segmask {

/// A text that appears whole or not at all: as a file (StagedOutput), or on standard output, for which it is
/// kept in a temporary file until its end. Every error is a UserError, and ClosedPipe where nobody reads it
/// any more.
class TextOutput {
 public:
  /// `target` "-" is standard output. Nothing is printed before finish() or replaced before commit().
  explicit TextOutput(const std::string& target);

  void write(const std::string& text);

  /// Completes the text, which standard output gets now. No write may follow.
  void finish();

  /// Gives the finished text its name, as StagedOutput::commit.
  void commit(Existing existing = Existing::Replaced);

 private:
  void flush();
  void print();

  std::optional<StagedOutput> stage_;  ///< empty for standard output
  OutputFile file_;
  std::string buffer_;
};

}  // namespace segmask
