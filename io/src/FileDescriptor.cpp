#include "io/FileDescriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "io/Interrupt.h"
#include "io/UserError.h"

namespace segmask {
namespace {

/// Waits until there is something to read, or the end. False when the user has asked to stop.
bool waitForInput(int fd, const std::string& path) {
  std::array<pollfd, 2> waited{{{fd, POLLIN, 0}, {Interrupt::descriptor(), POLLIN, 0}}};
  while (!Interrupt::requested()) {
    if (poll(waited.data(), waited.size(), -1) > 0) {
      if (waited[0].revents != 0) return true;
    } else if (errno != EINTR) {
      throw systemError(path, errno);
    }
  }
  return false;
}

}  // namespace

void occupyClosedStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) >= 0 || errno != EBADF) continue;
    const int direction = stream == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    // It gets the lowest number that is free, which is this one.
    static_cast<void>(open("/dev/null", direction));
  }
}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  if (this != &other) {
    reset();
    fd_ = other.release();
  }
  return *this;
}

int FileDescriptor::release() {
  const int fd = fd_;
  fd_ = -1;
  return fd;
}

int FileDescriptor::reset() {
  if (fd_ < 0) return 0;
  return close(release()) == 0 ? 0 : errno;
}

std::string inputName(const std::string& path) {
  return path == kStandardStream ? "standard input" : path;
}

FileDescriptor openForReading(const std::string& path) {
  // Not blocking, so that a pipe without a writer is waited for where waiting can be ended.
  FileDescriptor file(path == kStandardStream ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                                              : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file) throw systemError(inputName(path), errno);
  return file;
}

std::size_t readSome(int fd, void* bytes, std::size_t size, const std::string& path) {
  while (waitForInput(fd, path)) {
    const ssize_t count = read(fd, bytes, size);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR && errno != EAGAIN) throw systemError(path, errno);
  }
  return 0;
}

std::size_t readFully(int fd, void* bytes, std::size_t size, const std::string& path) {
  std::size_t done = 0;
  while (done < size) {
    const std::size_t count = readSome(fd, static_cast<unsigned char*>(bytes) + done, size - done, path);
    if (count == 0) break;
    done += count;
  }
  return done;
}

int writeFully(int fd, const void* bytes, std::size_t size) {
  const auto* rest = static_cast<const unsigned char*>(bytes);
  while (size > 0) {
    const ssize_t count = write(fd, rest, size);
    if (count < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    rest += count;
    size -= static_cast<std::size_t>(count);
  }
  return 0;
}

void writeFully(int fd, const void* bytes, std::size_t size, const std::string& path) {
  const int error = writeFully(fd, bytes, size);
  if (error == EPIPE) throw ClosedPipe(path);
  if (error != 0) throw systemError(path, error);
}

}  // namespace segmask
