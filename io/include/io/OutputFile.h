#pragma once

#include <cstddef>
#include <string>
#include <utility>

#include "io/FileDescriptor.h"

namespace segmask {

/// A file being written. Every error is a UserError with the file's name as the user knows it.
class OutputFile {
 public:
  /// Creates or empties the file at `path`; `name` is what errors call it.
  OutputFile(const std::string& path, std::string name);

  /// Writes to what is open already.
  OutputFile(FileDescriptor file, std::string name) : name_(std::move(name)), file_(std::move(file)) {}

  /// Throws ClosedPipe where nobody reads it any more.
  void write(const void* bytes, std::size_t size);
  void write(const std::string& bytes) { write(bytes.data(), bytes.size()); }

  const std::string& name() const { return name_; }
  int descriptor() const { return file_.get(); }

  /// Call it after the last write: some file systems report a full disk only here.
  void close();

 private:
  std::string name_;
  FileDescriptor file_;
};

}  // namespace segmask
