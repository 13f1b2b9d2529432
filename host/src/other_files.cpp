#include "src/other_files.h"

#include <string>
#include <string_view>

#include "io/UserError.h"
#include "io/file_names.h"

namespace segmask {
namespace {

constexpr std::string_view kBlank = " \t\r\n";
constexpr std::size_t kLongFirstLine = 1 << 15;

/// Without a byte order mark and the blanks around it.
std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of("\xEF\xBB\xBF \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) + 1 - first);
}

/// Whether the text has that member, anywhere.
bool has(std::string_view text, const std::string& member) {
  return text.find("\"" + member + "\"") != std::string_view::npos;
}

/// Whether the text begins as COCO's files do: with one of their lists, or their "info".
bool beginsAsCoco(std::string_view text) {
  const std::string_view inside = trimmed(text.substr(1));
  const auto begins = [&inside](std::string_view name) {
    return inside.size() > name.size() + 1 && inside[0] == '"' && inside.compare(1, name.size(), name) == 0 &&
           inside[1 + name.size()] == '"';
  };
  return text[0] == '{' && (begins("info") || begins("licenses") || begins("images") ||
                            begins("annotations") || begins("categories"));
}

/// Whether the text is an object that goes on after its first line, which ends where no object does.
bool isOverSeveralLines(std::string_view text) {
  const std::size_t end = text.find('\n');
  if (text[0] != '{' || end == std::string_view::npos) return false;
  const std::string_view firstLine = trimmed(text.substr(0, end));
  return std::string_view("{[,:").find(firstLine.back()) != std::string_view::npos;
}

/// The command that makes lines of the file by jq.
std::string jqCommand(const std::string& arguments, const LineReader& reader) {
  if (reader.path() == "standard input") return "jq -c " + arguments;
  if (reader.isPacked())
    return "gzip -dc " + shellText(reader.path()) + " | jq -c " + arguments + " > lines.jsonl";
  return "jq -c " + arguments + " " + shellText(reader.path()) + " > lines.jsonl";
}

std::string importCommand(const LineReader& reader) {
  return "segmask import coco " + (reader.path() == "standard input" ? "-" : shellText(reader.path())) +
         " -o lines.jsonl";
}

/// What the text is the beginning of, and what helps; empty for lines of detections.
std::string otherKind(std::string_view text, const LineReader& reader) {
  if (text.empty() || (text[0] != '[' && text[0] != '{')) return {};
  if (text.size() > 1 && text[1] == '\0') return {};  // UTF-16, which the error for the line names
  const bool isCoco =
      beginsAsCoco(text) || (!has(text, "frame") && (has(text, "image_id") || has(text, "images")));
  if (isCoco) return "is a COCO file; segmask import coco makes lines of it: " + importCommand(reader);
  if (text[0] == '[') {
    return "is a JSON array; each element has to be a line of its own: " + jqCommand("'.[]'", reader);
  }
  if (isOverSeveralLines(text)) {
    return "is JSON over several lines; each object has to be one line: " + jqCommand(".", reader);
  }
  return {};
}

}  // namespace

void refuseOtherFile(std::string_view beginning, const LineReader& reader) {
  const std::string kind = otherKind(trimmed(beginning), reader);
  if (!kind.empty()) throw UserError(reader.path() + ": " + kind);
}

void refuseEndlessOtherFile(std::string_view beginning, const LineReader& reader) {
  if (beginning.find('\n') != std::string_view::npos) return;
  if (has(beginning, "producer") || has(beginning, "frame") || has(beginning, "detections")) return;
  const std::string_view text = trimmed(beginning);
  if (text.size() >= kLongFirstLine && beginsAsCoco(text)) refuseOtherFile(beginning, reader);
}

}  // namespace segmask
