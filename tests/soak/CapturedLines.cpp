#include "soak/CapturedLines.h"

#include <iostream>

namespace soak {

CapturedLines::CapturedLines() : before_(std::cerr.rdbuf(&written_)) {}

CapturedLines::~CapturedLines() {
  std::cerr.rdbuf(before_);
}

std::string CapturedLines::takeOverlayLines() {
  const std::string text = written_.str();
  if (text.empty()) return text;
  written_.str("");
  std::string lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t feed = text.find('\n', at);
    const std::size_t end = feed == std::string::npos ? text.size() : feed + 1;
    if (text.compare(at, 9, "[SegMask]") == 0) {
      lines.append(text, at, end - at);
    } else {
      ++other_lines_;
    }
    at = end;
  }
  return lines;
}

}  // namespace soak
