#include "mask_text.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <utility>

namespace seg_mask_overlay {
namespace {

constexpr std::string_view kPrefix = "SEG1|";
constexpr uint8_t kForeign = 0xFF;

constexpr std::array<uint8_t, 256> makeBase64Values() {
  constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::array<uint8_t, 256> values{};
  for (uint8_t& value : values) value = kForeign;
  for (std::size_t i = 0; i < alphabet.size(); ++i) {
    values[static_cast<unsigned char>(alphabet[i])] = static_cast<uint8_t>(i);
  }
  return values;
}

constexpr std::array<uint8_t, 256> kBase64Values = makeBase64Values();

/// Lenient, because producers wrap lines and leave padding out. Stops at `limit` bytes.
std::vector<uint8_t> decodeBase64(std::string_view text, std::size_t limit) {
  std::vector<uint8_t> bytes;
  bytes.reserve(limit);
  uint32_t pending = 0;
  int pendingBits = 0;
  for (const char c : text) {
    if (c == '=') break;
    const uint8_t value = kBase64Values[static_cast<unsigned char>(c)];
    if (value == kForeign) continue;
    pending = (pending << 6) | value;
    pendingBits += 6;
    if (pendingBits < 8) continue;
    pendingBits -= 8;
    bytes.push_back(static_cast<uint8_t>(pending >> pendingBits));
    if (bytes.size() == limit) break;
  }
  return bytes;
}

/// A side of the mask, by the rules of std::stoi; 0 when it is no number or out of range. `field` need not
/// end where the number does, but has to be followed by a byte that is no digit: a "|" or the text's end.
int readSide(const char* field) {
  const int savedErrno = errno;
  errno = 0;
  char* end = nullptr;
  const long value = std::strtol(field, &end, 10);
  const bool readable = end != field && errno != ERANGE && value >= std::numeric_limits<int>::min() &&
                        value <= std::numeric_limits<int>::max();
  errno = savedErrno;
  return readable ? static_cast<int>(value) : 0;
}

}  // namespace

std::optional<MaskBits> decodeMaskText(const std::string& text) {
  if (text.compare(0, kPrefix.size(), kPrefix) != 0) return std::nullopt;
  const std::size_t widthField = kPrefix.size();
  const std::size_t widthEnd = text.find('|', widthField);
  if (widthEnd == std::string::npos) return std::nullopt;
  const std::size_t heightEnd = text.find('|', widthEnd + 1);
  if (heightEnd == std::string::npos) return std::nullopt;

  const int width = readSide(text.c_str() + widthField);
  const int height = readSide(text.c_str() + widthEnd + 1);
  if (width <= 0 || height <= 0) return std::nullopt;

  const std::size_t dataEnd = text.find('|', heightEnd + 1);
  const std::string_view data = std::string_view(text).substr(
      heightEnd + 1, dataEnd == std::string::npos ? dataEnd : dataEnd - heightEnd - 1);
  const uint64_t needed = (static_cast<uint64_t>(width) * static_cast<uint64_t>(height) + 7) / 8;
  if (needed > data.size()) return std::nullopt;  // sides that lie must not make memory
  std::vector<uint8_t> bits = decodeBase64(data, static_cast<std::size_t>(needed));
  if (bits.size() < needed) return std::nullopt;
  return MaskBits{width, height, std::move(bits)};
}

}  // namespace seg_mask_overlay
