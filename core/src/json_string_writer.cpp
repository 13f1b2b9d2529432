#include "src/json_string_writer.h"

#include <cstddef>

#include "src/plain_run.h"

namespace {

void appendEscape(char byte, std::string& out) {
  constexpr const char* kHexDigits = "0123456789ABCDEF";
  switch (byte) {
    case '"':
      out += "\\\"";
      break;
    case '\\':
      out += "\\\\";
      break;
    case '\b':
      out += "\\b";
      break;
    case '\f':
      out += "\\f";
      break;
    case '\n':
      out += "\\n";
      break;
    case '\r':
      out += "\\r";
      break;
    case '\t':
      out += "\\t";
      break;
    default:
      const auto code = static_cast<unsigned char>(byte);
      out += "\\u00";
      out += kHexDigits[code >> 4];
      out += kHexDigits[code & 0x0F];
  }
}

}  // namespace

void appendEscapedJson(const std::string& text, std::string& out) {
  std::size_t at = 0;
  for (;;) {
    const std::size_t run = plain_run::length(text.data() + at, text.size() - at);
    out.append(text, at, run);
    at += run;
    if (at == text.size()) return;
    appendEscape(text[at++], out);
  }
}
