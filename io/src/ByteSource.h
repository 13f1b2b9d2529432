#pragma once

#include <zlib.h>

#include <cstddef>
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
  /// has asked to stop meanwhile. Throws UserError when reading fails and when gzip's data is damaged or cut
  /// off.
  std::size_t read(char* bytes, std::size_t size);

  /// What errors call it.
  const std::string& name() const { return name_; }

  /// Whether the file is packed by gzip.
  bool isPacked() const { return isPacked_; }

 private:
  bool fillBlock();
  std::size_t takeFromBlock(char* bytes, std::size_t size);
  std::size_t unpack(char* bytes, std::size_t size);

  std::string name_;
  FileDescriptor file_;
  std::vector<unsigned char> block_;
  bool isPacked_ = false;
  bool isWithinPacked_ = false;  ///< a gzip file has begun and not yet ended
  z_stream stream_{};            ///< its input is what is left of the block, packed or not
};

}  // namespace segmask
