#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace segmask {

class ByteSource;

/// Reads a text file or pipe line by line, with at most one line and one block of it in memory. One that is
/// packed by gzip, whatever its name, is unpacked meanwhile.
class LineReader {
 public:
  /// The longest line that is accepted, so that a file without line ends cannot fill the memory.
  static constexpr std::size_t kMostLineBytes = std::size_t{256} << 20;

  /// "-" is standard input. Throws UserError when the file cannot be opened.
  explicit LineReader(const std::string& path);
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  /// The next line without its line feed; the last line needs none. False at the end of the file, and early
  /// once the user has asked to stop. Throws UserError when reading or unpacking fails or the line is too
  /// long.
  bool next(std::string& line);

  /// The file's first bytes, unpacked: all or at least a block of a file, what is there of a pipe. Empty once
  /// the user has asked to stop. To be called before next(), and valid until then. Throws UserError as next()
  /// does.
  std::string_view beginning();

  /// Whether the file is packed by gzip.
  bool isPacked() const;

  /// The number of the line that next() gave last, counted from 1.
  uint64_t lineNumber() const { return lineNumber_; }

  /// What errors call the file: its path, or "standard input".
  const std::string& path() const;

 private:
  bool fillBlock();

  std::unique_ptr<ByteSource> source_;
  std::vector<char> block_;
  std::size_t begin_ = 0;  ///< where the block's unread part begins
  std::size_t end_ = 0;
  uint64_t lineNumber_ = 0;
};

}  // namespace segmask
