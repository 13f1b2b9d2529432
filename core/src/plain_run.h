#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// The bytes that stand for themselves in a JSON string: all but '"', '\\' and those below 0x20. The parser
/// passes over runs of them and the generator copies such runs; in payloads nearly everything is one.
namespace plain_run {

using Word = uint64_t;

/// Has the highest bit of each byte set, and no other, where `word`, eight bytes of a text, has one that does
/// not stand for itself. No sum below carries into the next byte.
inline Word marks(Word word) noexcept {
  constexpr Word kOnes = 0x0101010101010101U;
  constexpr Word kLow = 0x7FU * kOnes;
  const Word low = word & kLow;
  const Word notControl = low + 0x60U * kOnes;
  const Word notQuote = (low ^ ('"' * kOnes)) + kLow;
  const Word notBackslash = (low ^ ('\\' * kOnes)) + kLow;
  return ~(word | (notControl & notQuote & notBackslash)) & ~kLow;
}

/// The bytes of `part` with plain ones behind them.
template <typename Part>
constexpr Word padded(Part part) noexcept {
  if constexpr (sizeof(Part) == sizeof(Word)) {
    return part;
  } else {
    constexpr Word kBits = (Word{1} << (8 * sizeof(Part))) - 1;
    return (0x2020202020202020U & ~kBits) | part;
  }
}

/// Copies the first and the last bytes, which may overlap; false if not all stand for themselves.
template <typename Part>
bool copyEnds(const char* bytes, std::size_t size, char* to) noexcept {
  Part first;
  Part last;
  std::memcpy(&first, bytes, sizeof(Part));
  std::memcpy(&last, bytes + size - sizeof(Part), sizeof(Part));
  std::memcpy(to, &first, sizeof(Part));
  std::memcpy(to + size - sizeof(Part), &last, sizeof(Part));
  return (marks(padded(first)) | marks(padded(last))) == 0;
}

/// copyShort() copies up to this many bytes.
constexpr std::size_t kShort = 2 * sizeof(Word);

/// Copies `size` bytes, at most kShort, to `to`, which does not overlap them; false if one of them does not
/// stand for itself, and then what is at `to` has no meaning.
inline bool copyShort(const char* bytes, std::size_t size, char* to) noexcept {
  if (size >= sizeof(Word)) return copyEnds<Word>(bytes, size, to);
  if (size >= sizeof(uint32_t)) return copyEnds<uint32_t>(bytes, size, to);
  if (size >= sizeof(uint16_t)) return copyEnds<uint16_t>(bytes, size, to);
  return size == 0 || copyEnds<unsigned char>(bytes, size, to);
}

/// marks() of the eight bytes at `bytes`, and which of them is the first that is marked.
inline Word marksAt(const char* bytes) noexcept {
  Word word;
  std::memcpy(&word, bytes, sizeof(word));
  return marks(word);
}
inline std::size_t firstOf(Word marked) noexcept {
  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the first byte is the lowest of the word");
  return static_cast<std::size_t>(__builtin_ctzll(marked)) / 8;
}

/// length() of a run that is not shorter than kShort, or that ends with a text.
std::size_t lengthOfLonger(const char* bytes, std::size_t size) noexcept;

/// How many of the `size` bytes at `bytes` stand for themselves before the first that does not.
inline std::size_t length(const char* bytes, std::size_t size) noexcept {
  // Most keys and words end here, which takes no branch for each of their bytes.
  if (size >= kShort) {
    if (const Word marked = marksAt(bytes)) return firstOf(marked);
    if (const Word marked = marksAt(bytes + sizeof(Word))) return sizeof(Word) + firstOf(marked);
  }
  return lengthOfLonger(bytes, size);
}

/// The same, a byte at a time: what length() has to agree with.
std::size_t lengthByBytes(const char* bytes, std::size_t size) noexcept;

}  // namespace plain_run
