#include "src/render/detection_file_check.h"

#include <filesystem>
#include <fstream>

#include "io/UserError.h"

namespace segmask {
namespace {

constexpr std::size_t kLooked = 1 << 16;

std::string beginningOf(const std::string& path) {
  std::string text(kLooked, '\0');
  std::ifstream file(path, std::ios::binary);
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(file.gcount()));
  const std::size_t first = text.find_first_not_of("\xEF\xBB\xBF \t\r\n");
  return first == std::string::npos ? std::string() : text.substr(first);
}

/// Whether the text has that member, anywhere.
bool has(const std::string& text, const std::string& member) {
  return text.find("\"" + member + "\"") != std::string::npos;
}

/// What the text is the beginning of, and what helps; empty for lines of detections.
std::string otherKind(const std::string& text, const std::string& path) {
  const std::string firstLine = text.substr(0, text.find_first_of("\r\n"));
  if (text.empty() || (text[0] != '[' && text[0] != '{')) return {};
  if (text.size() > 1 && text[1] == '\0') return {};  // UTF-16, which the stream names
  if (!has(text, "frame") && (has(text, "image_id") || has(text, "images"))) {
    return "is a COCO file; segmask import coco makes lines of it: segmask import coco " + path +
           " -o lines.jsonl";
  }
  if (text[0] == '[') {
    return "is a JSON array; each element has to be a line of its own: jq -c '.[]' " + path +
           " > lines.jsonl";
  }
  if (firstLine.find_first_not_of("{ \t") == std::string::npos) {
    return "is JSON over several lines; each object has to be one line: jq -c . " + path + " > lines.jsonl";
  }
  return {};
}

}  // namespace

void refuseOtherFiles(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return;
  const std::string kind = otherKind(beginningOf(path), path);
  if (!kind.empty()) throw UserError(path + ": " + kind);
}

}  // namespace segmask
