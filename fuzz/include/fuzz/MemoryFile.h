#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "fuzz/fuzz_target.h"

/// A file in memory.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& bytes) : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
    const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
    fuzz::check(written == static_cast<ssize_t>(bytes.size()), "the file is written");
  }
  ~MemoryFile() { close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};
