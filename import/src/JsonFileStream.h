#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace segmask {

/// The bytes of an open file, as RapidJSON's reader takes them. Errors in reading and texts that are too long
/// are a UserError.
class JsonFileStream {
 public:
  using Ch = char;

  /// The longest value, a text for example, that the reader may collect in memory.
  static constexpr std::size_t kMostValueBytes = std::size_t{64} << 20;

  /// `name` is what errors call the file. It is read from where it stands, and stays the caller's.
  JsonFileStream(int file, std::string name);

  char Peek() const { return at_ < size_ ? block_[at_] : '\0'; }
  char Take();
  std::size_t Tell() const { return before_ + at_; }

  /// Passes these bytes over where the file begins with them; to be called first.
  void passOver(std::string_view beginning);

  /// Says that a value has ended here, and the next one begins.
  void endValue() { valueAt_ = Tell(); }

  /// Whether all bytes are taken: the reader takes a byte of 0 for the end.
  bool isAtEnd() const { return at_ == size_; }

  // The reader asks for these only to change texts in place.
  char* PutBegin() { return nullptr; }
  void Put(char) {}
  void Flush() {}
  std::size_t PutEnd(char*) { return 0; }

 private:
  void fill();

  int file_;
  std::string name_;
  std::vector<char> block_;
  std::size_t at_ = 0;
  std::size_t size_ = 0;    ///< of what the block holds
  std::size_t before_ = 0;  ///< bytes of the file before the block
  std::size_t valueAt_ = 0;
};

}  // namespace segmask
