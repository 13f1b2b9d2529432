#include "src/plain_run.h"

#include <algorithm>

namespace plain_run {
namespace {

constexpr std::size_t kSmallBlock = 32;
constexpr std::size_t kLargeBlock = 256;

constexpr bool isPlain(unsigned char byte) {
  return byte >= 0x20 && byte != '"' && byte != '\\';
}

/// Has a fixed length, no branch and no operation but minima, so that compilers vectorise it.
template <std::size_t Size>
bool isPlainBlock(const char* bytes) noexcept {
  unsigned char lowest = 0xFF;
  unsigned char nearest = 0xFF;
  for (std::size_t i = 0; i < Size; ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    const auto fromQuote = static_cast<unsigned char>(byte ^ '"');
    const auto fromBackslash = static_cast<unsigned char>(byte ^ '\\');
    lowest = std::min(lowest, byte);
    nearest = std::min(nearest, std::min(fromQuote, fromBackslash));
  }
  return lowest >= 0x20 && nearest != 0;
}

}  // namespace

std::size_t lengthByBytes(const char* bytes, std::size_t size) noexcept {
  std::size_t length = 0;
  while (length < size && isPlain(static_cast<unsigned char>(bytes[length]))) ++length;
  return length;
}

std::size_t lengthOfLonger(const char* bytes, std::size_t size) noexcept {
  std::size_t length = 0;
  while (size - length >= kLargeBlock && isPlainBlock<kLargeBlock>(bytes + length)) length += kLargeBlock;
  while (size - length >= kSmallBlock && isPlainBlock<kSmallBlock>(bytes + length)) length += kSmallBlock;
  for (; size - length >= sizeof(Word); length += sizeof(Word)) {
    if (const Word marked = marksAt(bytes + length)) return length + firstOf(marked);
  }
  return length + lengthByBytes(bytes + length, size - length);
}

}  // namespace plain_run
