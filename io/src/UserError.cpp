#include "io/UserError.h"

#include <system_error>

namespace segmask {

std::string oneLine(std::string text) {
  for (char& byte : text) {
    const auto code = static_cast<unsigned char>(byte);
    if (code < 0x20 || code == 0x7F) byte = ' ';
  }
  const std::size_t last = text.find_last_not_of(' ');
  text.resize(last == std::string::npos ? 0 : last + 1);
  return text;
}

UserError systemError(const std::string& file, int error) {
  return UserError(file + ": " + std::generic_category().message(error));
}

}  // namespace segmask
