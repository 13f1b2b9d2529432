#pragma once

#include <cstddef>
#include <string>

namespace segmask {

/// The name of standard input and standard output among paths.
constexpr char kStandardStream[] = "-";

/// Owns a file descriptor and closes it at the end.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(FileDescriptor&& other) noexcept : fd_(other.release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { reset(); }

  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }

  /// Hands the descriptor over to the caller.
  int release();

  /// Closes it. Returns 0 or the error number.
  int reset();

 private:
  int fd_ = -1;
};

/// Opens what is closed of the standard streams on /dev/null, so that no file that the program opens later
/// gets one of their numbers and is read or written as that stream. Each is opened in the wrong direction, so
/// that using it fails as it does on a closed one (EBADF). To be called before anything else is opened.
void occupyClosedStandardStreams();

/// What errors call a path that is read, "-" being standard input.
std::string inputName(const std::string& path);

/// Opens `path` for reading; "-" is standard input. Throws UserError.
FileDescriptor openForReading(const std::string& path);

/// Reads `size` bytes, waiting as long as necessary; fewer only at the end of the file or when the user has
/// asked to stop meanwhile. Throws UserError that names `path`.
std::size_t readFully(int fd, void* bytes, std::size_t size, const std::string& path);

/// Reads the available bytes, at most `size`, waiting for the first of them. 0 at the end of the file, or
/// when the user has asked to stop meanwhile. Throws UserError that names `path`.
std::size_t readSome(int fd, void* bytes, std::size_t size, const std::string& path);

/// Writes all bytes. Returns 0 or the error number.
int writeFully(int fd, const void* bytes, std::size_t size);

/// The same. Throws UserError that names `path`, ClosedPipe where nobody reads it any more.
void writeFully(int fd, const void* bytes, std::size_t size, const std::string& path);

}  // namespace segmask
