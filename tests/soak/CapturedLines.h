#pragma once

#include <sstream>
#include <string>

namespace soak {

/// Takes what libraries write to std::cerr, as long as it lives. The file descriptor stays as it is, so that
/// a sanitizer's last words are not lost.
class CapturedLines {
 public:
  CapturedLines();
  ~CapturedLines();
  CapturedLines(const CapturedLines&) = delete;
  CapturedLines& operator=(const CapturedLines&) = delete;

  /// What was written since the last call: the plug-in's own lines, with their line feeds. Lines that do not
  /// begin with "[SegMask]" are the value library's; they are counted and left out.
  std::string takeOverlayLines();

  unsigned long otherLines() const { return other_lines_; }

 private:
  std::stringbuf written_;
  std::streambuf* before_;
  unsigned long other_lines_ = 0;
};

}  // namespace soak
