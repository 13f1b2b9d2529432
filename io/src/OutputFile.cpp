#include "io/OutputFile.h"

#include <fcntl.h>

#include <cerrno>

#include "io/UserError.h"

namespace segmask {

OutputFile::OutputFile(const std::string& path, std::string name)
    : name_(std::move(name)), file_(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
  if (!file_) throw systemError(name_, errno);
}

void OutputFile::write(const void* bytes, std::size_t size) {
  const int error = writeFully(file_.get(), bytes, size);
  if (error == EPIPE) throw ClosedPipe(name_ + ": nobody reads it any more");
  if (error != 0) throw systemError(name_, error);
}

void OutputFile::close() {
  const int error = file_.reset();
  if (error != 0) throw systemError(name_, error);
}

}  // namespace segmask
