#include "src/JsonFileStream.h"

#include <utility>

#include "io/FileDescriptor.h"
#include "io/UserError.h"

namespace segmask {
namespace {

constexpr std::size_t kBlockBytes = 1 << 16;

}  // namespace

JsonFileStream::JsonFileStream(int file, std::string name)
    : file_(file), name_(std::move(name)), block_(kBlockBytes) {
  fill();
}

char JsonFileStream::Take() {
  const char byte = Peek();
  if (at_ < size_ && ++at_ == size_) fill();
  return byte;
}

void JsonFileStream::passOver(std::string_view beginning) {
  if (std::string_view(block_.data(), size_).substr(0, beginning.size()) != beginning) return;
  at_ = beginning.size();
  if (at_ == size_) fill();
}

void JsonFileStream::fill() {
  before_ += size_;
  at_ = 0;
  size_ = readSome(file_, block_.data(), block_.size(), name_);
  if (before_ - valueAt_ <= kMostValueBytes || size_ == 0) return;
  throw UserError(name_ + ": a value from byte " + std::to_string(valueAt_) + " on is longer than " +
                  std::to_string(kMostValueBytes >> 20) + " MiB");
}

}  // namespace segmask
