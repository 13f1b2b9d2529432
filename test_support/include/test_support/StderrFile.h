#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>

// While one lives, what the process writes to its standard error stream goes to a file instead, by whatever
// copy of whatever library it is written.
class StderrFile {
 public:
  StderrFile() : file_(memfd_create("stderr", 0)), previous_(dup(STDERR_FILENO)) {
    if (file_ < 0 || previous_ < 0 || dup2(file_, STDERR_FILENO) < 0) ADD_FAILURE() << "cannot take it over";
  }
  ~StderrFile() {
    dup2(previous_, STDERR_FILENO);
    close(previous_);
    close(file_);
  }
  StderrFile(const StderrFile&) = delete;
  StderrFile& operator=(const StderrFile&) = delete;

  std::string text() const {
    std::string text;
    char bytes[4096];
    for (;;) {
      const ssize_t count = pread(file_, bytes, sizeof(bytes), static_cast<off_t>(text.size()));
      if (count <= 0) return text;
      text.append(bytes, static_cast<std::size_t>(count));
    }
  }

 private:
  int file_;
  int previous_;
};
