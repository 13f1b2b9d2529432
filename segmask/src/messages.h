#pragma once

#include <string>

namespace segmask {

/// One line on standard error, "segmask: `text`", in one write.
void tell(const std::string& text);

/// Prints what a command says beside its outputs, which are complete: where standard output does not take it,
/// that is a warning. Nothing is said where nobody reads standard output any more.
void printSummary(const std::string& text);

/// "segmask: warning: ...": something that was hardly meant so.
void warn(const std::string& text);

/// "segmask: note: ...": something that is done in another way than one might expect.
void note(const std::string& text);

}  // namespace segmask
