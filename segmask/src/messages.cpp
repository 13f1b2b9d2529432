#include "src/messages.h"

#include <iostream>

#include "io/UserError.h"

namespace segmask {

void tell(const std::string& text) {
  std::cerr << "segmask: " + oneLine(text) + "\n" << std::flush;
}

void warn(const std::string& text) {
  tell("warning: " + text);
}

void note(const std::string& text) {
  tell("note: " + text);
}

}  // namespace segmask
