#include "mask/mask_base64.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace seg_mask {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "words are composed with the first byte lowest");

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// By place in a group of four and by character: the character's share in the group's three bytes, first byte
/// lowest; kInvalid for a character outside the alphabet.
using Shares = std::array<std::array<uint32_t, 256>, 4>;
constexpr uint32_t kInvalid = 0x80000000U;

constexpr Shares makeShares() {
  Shares shares{};
  for (auto& place : shares) {
    for (uint32_t& share : place) share = kInvalid;
  }
  for (uint32_t value = 0; value < 64; ++value) {
    const auto character = static_cast<unsigned char>(kAlphabet[value]);
    for (unsigned place = 0; place < 4; ++place) {
      const uint32_t group = value << (18 - 6 * place);  // first byte highest
      shares[place][character] = (group >> 16) | (group & 0xFF00U) | ((group & 0xFFU) << 16);
    }
  }
  return shares;
}

constexpr Shares kShares = makeShares();

/// By character: 1 for those of the alphabet.
constexpr std::array<uint8_t, 256> makeInAlphabet() {
  std::array<uint8_t, 256> inAlphabet{};
  for (const char c : kAlphabet) inAlphabet[static_cast<unsigned char>(c)] = 1;
  return inAlphabet;
}

constexpr std::array<uint8_t, 256> kInAlphabet = makeInAlphabet();

constexpr std::size_t kBlock = 16;  // characters at a time: four groups, twelve bytes
constexpr std::size_t kBlockBytes = kBlock / 4 * 3;
constexpr std::size_t kChunk = 16 * kBlock;

static_assert(kBase64Slack == kBlockBytes + kChunk / 4 * 3 + 2);

uint64_t group(const unsigned char* text) {
  return kShares[0][text[0]] | kShares[1][text[1]] | kShares[2][text[2]] | kShares[3][text[3]];
}

constexpr uint64_t kOutside = 0x4141414141414141U;  // "AAAAAAAA"
constexpr uint64_t kInside = 0x2F2F2F2F2F2F2F2FU;   // "////////"

/// Writes the twelve bytes of a block, and two more. False when one of its characters is invalid.
bool decodeBlock(const unsigned char* block, uint8_t* bytes) {
  uint64_t halves[2];
  std::memcpy(halves, block, sizeof(halves));
  if (halves[0] == halves[1] && (halves[0] == kOutside || halves[0] == kInside)) {
    std::memset(bytes, halves[0] == kInside ? 255 : 0, kBlockBytes);  // as most blocks of a silhouette
    return true;
  }
  const uint64_t groups[4] = {group(block), group(block + 4), group(block + 8), group(block + 12)};
  if (((groups[0] | groups[1] | groups[2] | groups[3]) & kInvalid) != 0) return false;
  halves[0] = groups[0] | (groups[1] << 24);
  halves[1] = groups[2] | (groups[3] << 24);
  std::memcpy(bytes, &halves[0], sizeof(halves[0]));
  std::memcpy(bytes + kBlockBytes / 2, &halves[1], sizeof(halves[1]));
  return true;
}

constexpr std::size_t kRunBlocks = 4;

/// Writes the bytes of a run of blocks where all of them are outside, or all inside, as most of a frame-sized
/// mask is. False when they are not.
bool decodeRun(const unsigned char* run, uint8_t* bytes) {
  uint64_t first = 0;
  std::memcpy(&first, run, sizeof(first));
  if (first != kOutside && first != kInside) return false;
  if (std::memcmp(run, run + sizeof(first), kRunBlocks * kBlock - sizeof(first)) != 0) return false;
  std::memset(bytes, first == kInside ? 255 : 0, kRunBlocks * kBlockBytes);
  return true;
}

/// Decodes up to `blocks` blocks, stops at the first with an invalid character, and returns the number of
/// decoded ones. Writes two bytes more than they hold.
std::size_t decodeBlocks(const unsigned char* text, std::size_t blocks, uint8_t* bytes) {
  std::size_t done = 0;
  while (done < blocks) {
    const unsigned char* const next = text + done * kBlock;
    uint8_t* const to = bytes + done * kBlockBytes;
    if (blocks - done >= kRunBlocks && decodeRun(next, to)) {
      done += kRunBlocks;
    } else if (decodeBlock(next, to)) {
      ++done;
    } else {
      break;
    }
  }
  return done;
}

/// Copies the characters of the alphabet and returns their number. Every character is copied and an invalid
/// one is overwritten by the next, so that no branch depends on the text. Two at a time, which halves the
/// chain of additions.
std::size_t sift(const unsigned char* text, std::size_t length, unsigned char* sifted) {
  std::size_t size = 0;
  std::size_t i = 0;
  for (; i + 2 <= length; i += 2) {
    const std::size_t first = kInAlphabet[text[i]];
    sifted[size] = text[i];
    sifted[size + first] = text[i + 1];
    size += first + kInAlphabet[text[i + 1]];
  }
  if (i < length) {
    sifted[size] = text[i];
    size += kInAlphabet[text[i]];
  }
  return size;
}

class Decoder {
 public:
  Decoder(std::string_view text, std::size_t limit, uint8_t* bytes)
      : text_(reinterpret_cast<const unsigned char*>(text.data())),
        end_(text_ + text.size()),
        limit_(limit),
        bytes_(bytes) {}

  /// Returns the number of bytes decoded.
  std::size_t decode() && {
    while (count_ < limit_ && text_ != end_) {
      decodeCleanBlocks();
      decodeSifted();
    }
    return std::min(count_, limit_);
  }

 private:
  void decodeCleanBlocks() {
    const std::size_t present = static_cast<std::size_t>(end_ - text_) / kBlock;
    const std::size_t wanted = (limit_ - count_ + kBlockBytes - 1) / kBlockBytes;
    const std::size_t done = decodeBlocks(text_, std::min(present, wanted), bytes_ + count_);
    text_ += done * kBlock;
    count_ += done * kBlockBytes;
  }

  /// Decodes the next chunk of text from a copy without invalid characters. Ends between two groups, or with
  /// the data.
  void decodeSifted() {
    std::size_t length = std::min<std::size_t>(kChunk, static_cast<std::size_t>(end_ - text_));
    if (const void* padding = std::memchr(text_, '=', length)) {
      end_ = static_cast<const unsigned char*>(padding);
      length = static_cast<std::size_t>(end_ - text_);
    }
    unsigned char sifted[kChunk + kBlock];
    std::size_t size = sift(text_, length, sifted);
    text_ += length;
    for (; size % 4 != 0 && text_ != end_; ++text_) {
      if (*text_ == '=') {
        end_ = text_;
        break;
      }
      size += sift(text_, 1, sifted + size);
    }
    std::memset(sifted + size, 'A', kBlock);
    decodeBlocks(sifted, (size + kBlock - 1) / kBlock, bytes_ + count_);
    count_ += size * 3 / 4;
  }

  const unsigned char* text_;
  const unsigned char* end_;
  const std::size_t limit_;
  uint8_t* const bytes_;
  std::size_t count_ = 0;
};

/// By twelve bits: their two characters.
using CharacterPairs = std::array<std::array<char, 2>, 4096>;

constexpr CharacterPairs makeCharacterPairs() {
  CharacterPairs pairs{};
  for (std::size_t bits = 0; bits < pairs.size(); ++bits) {
    pairs[bits] = {kAlphabet[bits >> 6], kAlphabet[bits & 63U]};
  }
  return pairs;
}

constexpr CharacterPairs kCharacterPairs = makeCharacterPairs();

constexpr std::size_t kRunBytes = 24;
constexpr std::size_t kRunCharacters = kRunBytes / 3 * 4;

/// Writes three bytes' four characters.
void encodeGroup(const uint8_t* bytes, char* text) {
  const uint32_t bits = (uint32_t{bytes[0]} << 16) | (uint32_t{bytes[1]} << 8) | bytes[2];
  std::memcpy(text, kCharacterPairs[bits >> 12].data(), 2);
  std::memcpy(text + 2, kCharacterPairs[bits & 4095U].data(), 2);
}

/// Writes kRunBytes' characters.
void encodeRun(const uint8_t* bytes, char* text) {
  uint64_t words[3];
  std::memcpy(words, bytes, sizeof(words));
  if (words[0] == words[1] && words[1] == words[2] && (words[0] == 0 || ~words[0] == 0)) {
    std::memset(text, words[0] == 0 ? 'A' : '/', kRunCharacters);  // as most of a silhouette
    return;
  }
  for (std::size_t group = 0; group < kRunBytes / 3; ++group)
    encodeGroup(bytes + 3 * group, text + 4 * group);
}

}  // namespace

void appendBase64(const uint8_t* bytes, std::size_t count, std::string& text) {
  const std::size_t before = text.size();
  text.resize(before + (count + 2) / 3 * 4, '=');
  char* out = text.data() + before;
  std::size_t i = 0;
  for (; count - i >= kRunBytes; i += kRunBytes, out += kRunCharacters) encodeRun(bytes + i, out);
  for (; count - i >= 3; i += 3, out += 4) encodeGroup(bytes + i, out);
  if (i == count) return;
  const uint32_t second = count - i == 2 ? bytes[i + 1] : 0;
  const uint32_t bits = (uint32_t{bytes[i]} << 16) | (second << 8);
  std::memcpy(out, kCharacterPairs[bits >> 12].data(), 2);
  if (count - i == 2) out[2] = kAlphabet[(bits >> 6) & 63U];
}

std::vector<uint8_t> decodeBase64(std::string_view text, std::size_t limit) {
  std::vector<uint8_t> bytes(limit + kBase64Slack);
  bytes.resize(decodeBase64(text, limit, bytes.data()));
  return bytes;
}

std::size_t decodeBase64(std::string_view text, std::size_t limit, uint8_t* bytes) {
  return Decoder(text, limit, bytes).decode();
}

}  // namespace seg_mask
