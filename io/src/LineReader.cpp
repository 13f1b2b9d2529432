#include "io/LineReader.h"

#include <cstring>

#include "io/Interrupt.h"
#include "io/UserError.h"
#include "src/ByteSource.h"

namespace segmask {
namespace {

constexpr std::size_t kBlockBytes = 1 << 16;

}  // namespace

LineReader::LineReader(const std::string& path)
    : source_(std::make_unique<ByteSource>(path)), block_(kBlockBytes) {}

LineReader::~LineReader() = default;

const std::string& LineReader::path() const {
  return source_->name();
}

std::string_view LineReader::beginning() {
  if (begin_ == end_) fillBlock();
  return {block_.data() + begin_, end_ - begin_};
}

bool LineReader::isPacked() const {
  return source_->isPacked();
}

bool LineReader::next(std::string& line) {
  line.clear();
  bool any = false;
  while (begin_ < end_ || fillBlock()) {
    any = true;
    const char* const rest = block_.data() + begin_;
    const void* const lineFeed = std::memchr(rest, '\n', end_ - begin_);
    const std::size_t size =
        lineFeed ? static_cast<std::size_t>(static_cast<const char*>(lineFeed) - rest) : end_ - begin_;
    if (line.size() + size > kMostLineBytes) {
      throw UserError(path() + ":" + std::to_string(lineNumber_ + 1) + ": the line is longer than " +
                      std::to_string(kMostLineBytes >> 20) + " MiB");
    }
    line.append(rest, size);
    begin_ += size;
    if (lineFeed) {
      ++begin_;
      break;
    }
  }
  // A line that the request to stop has cut short is dropped.
  if (!any || Interrupt::requested()) return false;
  ++lineNumber_;
  return true;
}

bool LineReader::fillBlock() {
  begin_ = 0;
  end_ = source_->read(block_.data(), block_.size());
  return end_ > 0;
}

}  // namespace segmask
