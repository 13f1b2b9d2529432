#include "src/matroska_end.h"

#include <vector>

#include "io/FileDescriptor.h"

namespace segmask {
namespace {

constexpr uint64_t kHeader = 0x1A45DFA3;
constexpr uint64_t kSegment = 0x18538067;
/// The header is shorter by far.
constexpr std::size_t kHeadBytes = 4096;

/// Reads the first elements of a file: each a number that names it, its size, and so many bytes.
class Elements {
 public:
  explicit Elements(const std::vector<unsigned char>& bytes) : bytes_(bytes) {}

  std::optional<uint64_t> name() {
    const std::optional<Number> number = next();
    return number ? std::optional(number->withMark) : std::nullopt;
  }

  /// Empty where it is unknown.
  std::optional<uint64_t> size() {
    const std::optional<Number> number = next();
    return number && !number->isAllOnes ? std::optional(number->value) : std::nullopt;
  }

  uint64_t position() const { return at_; }
  void skip(uint64_t count) { at_ = count < bytes_.size() ? at_ + count : bytes_.size(); }

 private:
  struct Number {
    uint64_t withMark = 0;
    uint64_t value = 0;
    bool isAllOnes = false;
  };

  /// A number of up to eight bytes. The zeros before the first bit that is set, the mark, say how many
  /// follow.
  std::optional<Number> next() {
    constexpr unsigned kFirstBit = 0x80;
    if (at_ >= bytes_.size() || bytes_[at_] == 0) return std::nullopt;
    unsigned length = 1;
    for (unsigned bit = kFirstBit; (bytes_[at_] & bit) == 0; bit >>= 1) ++length;
    if (at_ + length > bytes_.size()) return std::nullopt;
    Number number;
    for (unsigned i = 0; i < length; ++i) number.withMark = number.withMark << 8 | bytes_[at_++];
    const uint64_t mark = uint64_t{1} << (7 * length);
    number.value = number.withMark - mark;
    number.isAllOnes = number.value == mark - 1;
    return number;
  }

  const std::vector<unsigned char>& bytes_;
  std::size_t at_ = 0;
};

}  // namespace

std::optional<uint64_t> matroskaEnd(const std::string& path) {
  const FileDescriptor file = openForReading(path);
  std::vector<unsigned char> bytes(kHeadBytes);
  bytes.resize(readFully(file.get(), bytes.data(), bytes.size(), path));
  Elements elements(bytes);
  if (elements.name() != kHeader) return std::nullopt;
  elements.skip(elements.size().value_or(kHeadBytes));
  if (elements.name() != kSegment) return std::nullopt;
  const std::optional<uint64_t> size = elements.size();
  return size ? std::optional(elements.position() + *size) : std::nullopt;
}

}  // namespace segmask
