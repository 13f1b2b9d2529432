#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "io/FileDescriptor.h"

namespace segmask {

/// Reads a text file or pipe line by line, with at most one line and one block of it in memory.
class LineReader {
 public:
  /// The longest line that is accepted, so that a file without line ends cannot fill the memory.
  static constexpr std::size_t kMostLineBytes = std::size_t{256} << 20;

  /// Throws UserError when the file cannot be opened.
  explicit LineReader(std::string path);

  /// The next line without its line feed; the last line needs none. False at the end of the file, and early
  /// once the user has asked to stop. Throws UserError when reading fails or the line is too long.
  bool next(std::string& line);

  /// The number of the line that next() gave last, counted from 1.
  uint64_t lineNumber() const { return lineNumber_; }

  const std::string& path() const { return path_; }

 private:
  bool fillBlock();

  std::string path_;
  FileDescriptor file_;
  std::vector<char> block_;
  std::size_t begin_ = 0;  ///< where the block's unread part begins
  std::size_t end_ = 0;
  uint64_t lineNumber_ = 0;
};

}  // namespace segmask
