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
  writeFully(file_.get(), bytes, size, name_);
}

void OutputFile::close() {
  const int error = file_.reset();
  if (error != 0) throw systemError(name_, error);
}

}  // namespace segmask
