#include "host/parse_hint.h"

namespace segmask {
namespace {

using namespace std::literals;

bool beginsWith(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

/// Whether JSON may begin with this character.
bool isJson(char letter) {
  return "{[ \t\r"sv.find(letter) != std::string_view::npos;
}

/// The encoding where the text begins with its byte order mark, or as JSON in it does; else null. UTF-16's
/// mark is the beginning of UTF-32's.
const char* foreignEncoding(std::string_view text) {
  if (text.size() >= 4) {
    if (beginsWith(text, "\xFF\xFE\0\0"sv)) return "UTF-32LE";
    if (isJson(text[0]) && text.substr(1, 3) == "\0\0\0"sv) return "UTF-32LE";
    if (beginsWith(text, "\0\0\xFE\xFF"sv)) return "UTF-32BE";
    if (beginsWith(text, "\0\0\0"sv) && isJson(text[3])) return "UTF-32BE";
  }
  if (text.size() < 2) return nullptr;
  if (beginsWith(text, "\xFF\xFE"sv) || (isJson(text[0]) && text[1] == '\0')) return "UTF-16LE";
  if (beginsWith(text, "\xFE\xFF"sv) || (text[0] == '\0' && isJson(text[1]))) return "UTF-16BE";
  return nullptr;
}

}  // namespace

std::string encodingHint(std::string_view beginning) {
  const char* const encoding = foreignEncoding(beginning);
  return encoding ? std::string(" (the text is ") + encoding + " and has to be UTF-8)" : std::string();
}

std::string tokenHint(std::string_view rest) {
  if (beginsWith(rest, "NaN") || beginsWith(rest, "Infinity")) return " (JSON has no NaN and no Infinity)";
  return beginsWith(rest, "'") ? " (JSON has double quotes)" : "";
}

std::string parseHint(const std::string& line, const std::string& error) {
  constexpr std::string_view kIndex = "(index ";  // the place, which the parser says in its message alone
  std::string encoding = encodingHint(line);
  if (!encoding.empty()) return encoding;
  const std::size_t index = error.find(kIndex);
  const bool isObject = line[line.find_first_not_of(" \t")] == '{';
  if (index == std::string::npos || !isObject) return " (a line has to be one JSON object and nothing else)";
  const std::size_t at = std::stoull(error.substr(index + kIndex.size()));
  return at < line.size() ? tokenHint(std::string_view(line).substr(at)) : std::string();
}

}  // namespace segmask
