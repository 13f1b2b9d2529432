#pragma once

#include <stdexcept>
#include <string>

namespace segmask {

/// `text` as one line of printable bytes: control bytes, line ends included, become blanks, and trailing
/// blanks are removed.
std::string oneLine(std::string text);

/// An error that the user can fix: bad input, a folder that cannot be written, a plug-in that does not load.
/// The text names the file first ("FILE: what", "FILE:LINE: what") and is always one line.
class UserError : public std::runtime_error {
 public:
  explicit UserError(const std::string& text) : std::runtime_error(oneLine(text)) {}
};

/// Nobody reads the pipe `file` any more, which is written to.
class ClosedPipe : public UserError {
 public:
  explicit ClosedPipe(const std::string& file) : UserError(file + ": nobody reads it any more") {}
};

/// `file` is there, and the user does not want it to be replaced.
class FileExists : public UserError {
 public:
  explicit FileExists(const std::string& file) : UserError(file + ": exists, and -n never overwrites") {}
};

/// The error of the system call that just failed: "FILE: No such file or directory".
UserError systemError(const std::string& file, int error);

}  // namespace segmask
