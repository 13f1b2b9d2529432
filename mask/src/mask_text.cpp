#include "mask/mask_text.h"

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <utility>

#include "mask/mask_base64.h"

namespace seg_mask {
namespace {

constexpr std::string_view kPrefix = "SEG1|";

/// A dimension of the mask, by the rules of std::stoi; 0 when it is no number or out of range. `field` need
/// not end where the number does, but has to be followed by a byte that is no digit: a "|" or the text's end.
int readDimension(const char* field) {
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

  const int width = readDimension(text.c_str() + widthField);
  const int height = readDimension(text.c_str() + widthEnd + 1);
  if (width <= 0 || height <= 0) return std::nullopt;

  const std::size_t dataEnd = text.find('|', heightEnd + 1);
  const std::string_view data = std::string_view(text).substr(
      heightEnd + 1, dataEnd == std::string::npos ? dataEnd : dataEnd - heightEnd - 1);
  const uint64_t needed = (static_cast<uint64_t>(width) * static_cast<uint64_t>(height) + 7) / 8;
  if (needed > data.size())
    return std::nullopt;  // dimensions that lie must not take more memory than there is text
  std::vector<uint8_t> bits = decodeBase64(data, static_cast<std::size_t>(needed));
  if (bits.size() < needed) return std::nullopt;
  return MaskBits{width, height, std::move(bits)};
}

std::string encodeMaskText(const MaskBits& mask) {
  const std::size_t pixels = static_cast<std::size_t>(mask.width) * static_cast<std::size_t>(mask.height);
  return std::string(kPrefix) + std::to_string(mask.width) + "|" + std::to_string(mask.height) + "|" +
         encodeBase64(mask.bits.data(), (pixels + 7) / 8);
}

}  // namespace seg_mask
