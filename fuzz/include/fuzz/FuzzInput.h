#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

/// Takes an input apart from the front. An input that has ended gives zeros and empty strings.
class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size)
      : bytes_(size == 0 ? std::string() : std::string(reinterpret_cast<const char*>(data), size)) {}

  bool atEnd() const { return at_ == bytes_.size(); }

  std::uint8_t byte() { return atEnd() ? std::uint8_t{0} : static_cast<std::uint8_t>(bytes_[at_++]); }

  /// A number from 0 up to, but not including, `limit`, which is 1 to 256.
  unsigned below(unsigned limit) { return byte() % limit; }

  bool flag() { return (byte() & 1U) != 0; }

  /// A number of any value: the next bytes as they would lie in memory.
  template <typename Number>
  Number number() {
    static_assert(std::is_arithmetic_v<Number> && !std::is_same_v<Number, bool>);
    unsigned char raw[sizeof(Number)];
    for (unsigned char& rawByte : raw) rawByte = byte();
    Number value;
    std::memcpy(&value, raw, sizeof(value));
    return value;
  }

  /// A byte for the length, then so many bytes.
  std::string piece() {
    const std::size_t length = byte();
    return take(length);
  }

  /// The bytes up to the next `end`, which is dropped; the rest if there is none.
  std::string upTo(char end) {
    const std::size_t found = bytes_.find(end, at_);
    if (found == std::string::npos) return rest();
    const std::string text = take(found - at_);
    ++at_;
    return text;
  }

  std::string rest() { return take(bytes_.size() - at_); }

 private:
  std::string take(std::size_t length) {
    const std::string text = bytes_.substr(at_, length);
    at_ += text.size();
    return text;
  }

  std::string bytes_;
  std::size_t at_ = 0;
};
