#include "core/diagnostics.h"

#include <cxxabi.h>

#include <exception>
#include <iostream>

namespace {

/// False, with `line` as it was, if there is no memory.
bool appendLineFeed(std::string& line) noexcept {
  try {
    line += '\n';
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace

/// The unwinding of a cancelled thread has no object, so the C++ runtime binds the handler's reference to
/// null. The sanitizers' check for that is switched off here.
__attribute__((no_sanitize("null"))) void sw_diagnostics::writeLine(std::string line) {
  const bool whole = appendLineFeed(line);
  try {
    std::cerr.write(line.data(), static_cast<std::streamsize>(line.size()));
    if (!whole) std::cerr.put('\n');
    std::cerr.flush();
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (...) {
    // The host's stream buffer throws and the host lets its stream pass that on. The line is lost.
  }
}
