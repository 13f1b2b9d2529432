#include "diagnostics.h"

#include <iostream>

void writeDiagnostic(std::string line) {
  line += '\n';
  std::cerr.write(line.data(), static_cast<std::streamsize>(line.size()));
  std::cerr.flush();
}
