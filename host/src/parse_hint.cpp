#include "src/parse_hint.h"

#include <string_view>

namespace segmask {
namespace {

/// "UTF-16LE" or "UTF-16BE" where the text begins with that byte order mark, or as JSON in it does; else
/// null.
const char* utf16Name(const std::string& text) {
  if (text.size() < 2) return nullptr;
  const std::string_view beginning(text.data(), 2);
  const auto isJson = [](char letter) {
    return std::string_view("{[ \t\r").find(letter) != std::string::npos;
  };
  if (beginning == "\xFF\xFE" || (isJson(text[0]) && text[1] == '\0')) return "UTF-16LE";
  if (beginning == "\xFE\xFF" || (text[0] == '\0' && isJson(text[1]))) return "UTF-16BE";
  return nullptr;
}

}  // namespace

std::string parseHint(const std::string& line, const std::string& error) {
  constexpr std::string_view kIndex = "(index ";  // the place, which the parser says in its message alone
  if (const char* const encoding = utf16Name(line)) {
    return std::string(" (the text is ") + encoding + " and has to be UTF-8)";
  }
  const std::size_t index = error.find(kIndex);
  const bool isObject = line[line.find_first_not_of(" \t")] == '{';
  if (index == std::string::npos || !isObject) return " (a line has to be one JSON object and nothing else)";
  const std::size_t at = std::stoull(error.substr(index + kIndex.size()));
  const auto isThere = [&](std::string_view word) {
    return at < line.size() && line.compare(at, word.size(), word) == 0;
  };
  if (isThere("NaN") || isThere("Infinity")) return " (JSON has no NaN and no Infinity)";
  if (isThere("'")) return " (JSON has double quotes)";
  return {};
}

}  // namespace segmask
