#include "src/ByteSource.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "io/Interrupt.h"
#include "io/UserError.h"

namespace segmask {
namespace {

constexpr std::size_t kBlockBytes = 1 << 16;
constexpr unsigned char kGzip[] = {0x1F, 0x8B};
constexpr int kGzipWindowBits = 16 + MAX_WBITS;  // zlib's sign for gzip's format

/// The bytes that a regular file has from where it stands on; 0 for anything else.
uint64_t bytesAhead(int file) {
  struct stat status {};
  if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return 0;
  const off_t at = lseek(file, 0, SEEK_CUR);
  return at >= 0 && at < status.st_size ? static_cast<uint64_t>(status.st_size - at) : 0;
}

}  // namespace

ByteSource::ByteSource(const std::string& path)
    : name_(inputName(path)),
      file_(openForReading(path)),
      block_(kBlockBytes),
      bytesLeft_(bytesAhead(file_.get())) {
  // Reads the first block at once, so that a path that cannot be read, such as a folder, fails here. A pipe
  // may give its first byte alone.
  std::size_t size = readFile(block_.data(), block_.size());
  if (size == 1 && block_[0] == kGzip[0]) {
    size += readFile(block_.data() + size, block_.size() - size);
  }
  stream_.next_in = block_.data();
  stream_.avail_in = static_cast<uInt>(size);
  isPacked_ = size >= sizeof(kGzip) && std::equal(std::begin(kGzip), std::end(kGzip), block_.begin());
  isWithinPacked_ = isPacked_;
  if (isPacked_ && inflateInit2(&stream_, kGzipWindowBits) != Z_OK) throw std::bad_alloc();
}

ByteSource::~ByteSource() {
  if (isPacked_) inflateEnd(&stream_);
}

std::size_t ByteSource::readFile(void* bytes, std::size_t size) {
  const std::size_t count = readSome(file_.get(), bytes, size, name_);
  if (count == 0 && bytesLeft_ > 0 && !Interrupt::requested()) {
    throw UserError(name_ + ": has shrunk while it was read; " + std::to_string(bytesLeft_) +
                    " of its bytes are missing");
  }
  bytesLeft_ -= std::min<uint64_t>(bytesLeft_, count);  // it may grow
  return count;
}

std::size_t ByteSource::read(char* bytes, std::size_t size) {
  if (isPacked_) return unpack(bytes, size);
  return stream_.avail_in > 0 ? takeFromBlock(bytes, size) : readFile(bytes, size);
}

std::size_t ByteSource::takeFromBlock(char* bytes, std::size_t size) {
  const std::size_t count = std::min<std::size_t>(size, stream_.avail_in);
  std::memcpy(bytes, stream_.next_in, count);
  stream_.next_in += count;
  stream_.avail_in -= static_cast<uInt>(count);
  return count;
}

std::size_t ByteSource::unpack(char* bytes, std::size_t size) {
  stream_.next_out = reinterpret_cast<Bytef*>(bytes);
  stream_.avail_out = static_cast<uInt>(size);
  while (stream_.avail_out == size) {
    if (stream_.avail_in == 0 && !fillBlock()) {
      if (!isWithinPacked_ || Interrupt::requested()) break;
      throw UserError(name_ + ": the gzip data is cut off");
    }
    if (!isWithinPacked_) inflateReset(&stream_);
    const int result = inflate(&stream_, Z_NO_FLUSH);
    if (result == Z_MEM_ERROR) throw std::bad_alloc();
    if (result != Z_OK && result != Z_STREAM_END) throw UserError(name_ + ": the gzip data is damaged");
    isWithinPacked_ = result == Z_OK;
  }
  return size - stream_.avail_out;
}

bool ByteSource::fillBlock() {
  stream_.next_in = block_.data();
  stream_.avail_in = static_cast<uInt>(readFile(block_.data(), block_.size()));
  return stream_.avail_in > 0;
}

}  // namespace segmask
