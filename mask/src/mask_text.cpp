#include "mask/mask_text.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <utility>

#include "mask/mask_base64.h"

namespace seg_mask {
namespace {

using Field = MaskTextFault::Field;
using Problem = MaskTextFault::Problem;

/// The fields before the data.
struct Header {
  int width;
  int height;
  std::size_t dataBegin;
  std::size_t neededBytes;
};

/// Stores the reason in `fault` unless that is null. Its value is the result of a failed step.
std::nullopt_t refuse(MaskTextFault* fault, MaskTextFault reason) {
  if (fault) *fault = reason;
  return std::nullopt;
}

/// A dimension of the mask, by the rules of std::stoi, and at least 1. `text` need not end where the number
/// does, but has to be followed by a byte that is no digit: a "|" or the text's end.
std::optional<int> readDimension(const char* text, Field field, MaskTextFault* fault) {
  const int savedErrno = errno;
  errno = 0;
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  const bool inRange =
      errno != ERANGE && value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
  errno = savedErrno;
  if (end == text) return refuse(fault, {field, Problem::NotANumber});
  if (!inRange) return refuse(fault, {field, Problem::OutOfRange});
  if (value <= 0) return refuse(fault, {field, Problem::NotPositive});
  return static_cast<int>(value);
}

constexpr std::string_view kSeg1 = "SEG1|";

std::optional<Header> readSeg1Header(const std::string& text, MaskTextFault* fault) {
  const std::size_t widthField = kSeg1.size();
  const std::size_t widthEnd = text.find('|', widthField);
  if (widthEnd == std::string::npos) return refuse(fault, {Field::Height, Problem::Missing});
  const std::size_t heightEnd = text.find('|', widthEnd + 1);
  if (heightEnd == std::string::npos) return refuse(fault, {Field::Data, Problem::Missing});

  const std::optional<int> width = readDimension(text.c_str() + widthField, Field::Width, fault);
  if (!width) return std::nullopt;
  const std::optional<int> height = readDimension(text.c_str() + widthEnd + 1, Field::Height, fault);
  if (!height) return std::nullopt;

  const uint64_t needed = (static_cast<uint64_t>(*width) * static_cast<uint64_t>(*height) + 7) / 8;
  return Header{*width, *height, heightEnd + 1, static_cast<std::size_t>(needed)};
}

std::nullopt_t refuseShortData(const Header& header, std::string_view data, MaskTextFault* fault) {
  if (!fault) return std::nullopt;
  const std::size_t present = decodeBase64(data, base64Bytes(data.size())).size();
  return refuse(fault,
                {Field::Data, Problem::TooShort, header.neededBytes, present, header.width, header.height});
}

/// Decodes a SEG1 text to `memory(bytes)`, which is asked once, for as many bytes as decoding writes.
template <class Memory>
std::optional<MaskView> decodeSeg1(const std::string& text, const Memory& memory, MaskTextFault* fault) {
  const std::optional<Header> header = readSeg1Header(text, fault);
  if (!header) return std::nullopt;
  std::string_view data = std::string_view(text).substr(header->dataBegin);
  data = data.substr(0, data.find('|'));
  // Wrong dimensions must not make it allocate more memory than the text needs.
  if (header->neededBytes > base64Bytes(data.size())) return refuseShortData(*header, data, fault);
  uint8_t* const bits = memory(header->neededBytes + kBase64Slack);
  const std::size_t size = decodeBase64(data, header->neededBytes, bits);
  if (size < header->neededBytes) return refuseShortData(*header, data, fault);
  return MaskView{header->width, header->height, bits, size};
}

/// The room that a SEG1 text needs, computed without reading its data.
std::size_t seg1Room(const std::string& text) {
  const std::optional<Header> header = readSeg1Header(text, nullptr);
  if (!header) return 0;
  return std::min(header->neededBytes, base64Bytes(text.size() - header->dataBegin)) + kBase64Slack;
}

enum class Format { Unknown, Seg1 };

/// Chooses the format by the prefix. The only function that lists the formats.
Format formatOf(const std::string& text) {
  return text.compare(0, kSeg1.size(), kSeg1) == 0 ? Format::Seg1 : Format::Unknown;
}

template <class Memory>
std::optional<MaskView> decode(const std::string& text, const Memory& memory, MaskTextFault* fault) {
  switch (formatOf(text)) {
    case Format::Seg1:
      return decodeSeg1(text, memory, fault);
    case Format::Unknown:
      break;
  }
  return refuse(fault, {Field::Prefix, Problem::Missing});
}

}  // namespace

std::optional<MaskBits> decodeMaskText(const std::string& text, MaskTextFault* fault) {
  std::vector<uint8_t> bits;
  const auto memory = [&bits](std::size_t bytes) {
    bits.resize(bytes);
    return bits.data();
  };
  const std::optional<MaskView> mask = decode(text, memory, fault);
  if (!mask) return std::nullopt;
  bits.resize(mask->size);
  return MaskBits{mask->width, mask->height, std::move(bits)};
}

std::optional<MaskView> decodeMaskText(const std::string& text, MaskArena& arena, MaskTextFault* fault) {
  std::size_t taken = 0;
  const auto memory = [&](std::size_t bytes) {
    taken = bytes;
    return arena.allocate(bytes);
  };
  const std::optional<MaskView> mask = decode(text, memory, fault);
  arena.giveBack(taken - (mask ? mask->size : 0));
  return mask;
}

std::size_t maskTextRoom(const std::string& text) {
  return formatOf(text) == Format::Seg1 ? seg1Room(text) : 0;
}

std::string encodeMaskText(const MaskView& mask) {
  const std::size_t pixels = static_cast<std::size_t>(mask.width) * static_cast<std::size_t>(mask.height);
  std::string text(kSeg1);
  text += std::to_string(mask.width) + "|" + std::to_string(mask.height) + "|";
  appendBase64(mask.bits, (pixels + 7) / 8, text);
  return text;
}

}  // namespace seg_mask
