#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "io/FileDescriptor.h"

namespace segmask {

/// The bytes of a file or pipe. Those in gzip's format, which their first two bytes tell, are unpacked; of
/// several gzip files in a row each.
class ByteSource {
 public:
  /// Opens `path`, "-" being standard input, and reads its first block. Throws UserError.
  explicit ByteSource(const std::string& path);
  ~ByteSource();
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  /// Gives the available bytes, at most `size`, waiting for the first of them. 0 at the end, or when the user
  /// has asked to stop meanwhile. Throws UserError when reading fails, when a regular file ends before the
  /// size that it had when it was opened, and when gzip's data is damaged or cut off.
  std::size_t read(char* bytes, std::size_t size);

  /// What errors call it.
  const std::string& name() const { return name_; }

  /// Whether the file is packed by gzip.
  bool isPacked() const { return isPacked_; }

 private:
  std::size_t readFile(void* bytes, std::size_t size);
  bool fillBlock();
  std::size_t takeFromBlock(char* bytes, std::size_t size);
  std::size_t unpack(char* bytes, std::size_t size);

  std::string name_;
  FileDescriptor file_;
  std::vector<unsigned char> block_;
  uint64_t bytesLeft_ = 0;  ///< of what a regular file had when it was opened
  bool isPacked_ = false;
  bool isWithinPacked_ = false;  ///< a gzip file has begun and not yet ended
  z_stream stream_{};            ///< its input is what is left of the block, packed or not
};

}  // namespace segmask
