#include "src/messages.h"

#include <unistd.h>

#include <iostream>

#include "io/FileDescriptor.h"
#include "io/UserError.h"

namespace segmask {

void tell(const std::string& text) {
  std::cerr << "segmask: " + oneLine(text) + "\n" << std::flush;
}

void printSummary(const std::string& text) {
  try {
    writeFully(STDOUT_FILENO, text.data(), text.size(), "standard output");
  } catch (const ClosedPipe&) {
    // Whoever closed it has seen enough.
  } catch (const UserError& error) {
    warn(std::string(error.what()) + "; the summary is lost, the outputs are written");
  }
}

void warn(const std::string& text) {
  tell("warning: " + text);
}

void note(const std::string& text) {
  tell("note: " + text);
}

}  // namespace segmask
