#include "src/report/html_text.h"

#include <openssl/evp.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <vector>

#include "host/verdict_words.h"
#include "io/utf8.h"

namespace segmask {
namespace {

const char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

/// The number of bytes of the character that begins at `at`; 0 where none does that a page can show.
std::size_t shownBytes(const std::string& text, std::size_t at) {
  const std::size_t size = utf8CharacterBytes(text, at);
  const bool isControl = size == 2 && text[at] == '\xC2' && static_cast<unsigned char>(text[at + 1]) < 0xA0;
  return isControl ? 0 : size;
}

/// The picture of a control byte, of which U+2421 is that of DEL.
std::string pictureOf(unsigned char control) {
  const unsigned low = control == 0x7F ? 0x21U : control;
  return {'\xE2', '\x90', static_cast<char>(0x80U + low)};
}

std::string asciiText(char character) {
  switch (character) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      break;
  }
  const auto byte = static_cast<unsigned char>(character);
  return byte < 0x20 || byte == 0x7F ? pictureOf(byte) : std::string(1, character);
}

}  // namespace

std::string htmlText(const std::string& text) {
  std::string html;
  html.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t size = shownBytes(text, at);
    if (size == 1) {
      html += asciiText(text[at]);
    } else if (size == 0) {
      html += kReplacement;
    } else {
      html.append(text, at, size);
    }
    at += size == 0 ? 1 : size;
  }
  return html;
}

std::string countText(uint64_t count, const std::string& noun) {
  return grouped(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string fixedText(double number, int digits) {
  std::array<char, 400> text{};
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, digits).ptr;
  return {text.data(), end};
}

std::string millisecondsText(double milliseconds) {
  return fixedText(milliseconds, 3) + " ms";
}

std::string timeText(double seconds) {
  constexpr double kHundredths = 100;
  const auto whole = static_cast<uint64_t>(std::llround(std::abs(seconds) * kHundredths));
  const auto twoDigits = [](uint64_t number) { return (number < 10 ? "0" : "") + std::to_string(number); };
  const uint64_t minutes = whole / 6000;
  const std::string sign = seconds < 0 && whole > 0 ? "-" : "";
  const std::string rest = twoDigits(whole / 100 % 60) + "." + twoDigits(whole % 100);
  if (minutes < 60) return sign + std::to_string(minutes) + ":" + rest;
  return sign + std::to_string(minutes / 60) + ":" + twoDigits(minutes % 60) + ":" + rest;
}

std::string sizeText(uint64_t bytes) {
  constexpr std::array<const char*, 4> kUnits{"KiB", "MiB", "GiB", "TiB"};
  constexpr double kStep = 1024;
  if (bytes < 1024) return countText(bytes, "byte");
  double size = static_cast<double>(bytes) / kStep;
  std::size_t unit = 0;
  for (; size >= kStep && unit + 1 < kUnits.size(); ++unit) size /= kStep;
  return fixedText(size, 1) + " " + kUnits[unit];
}

std::string base64Text(const std::string& bytes) {
  std::string text((bytes.size() + 2) / 3 * 4, '\0');
  std::vector<unsigned char> room(text.size() + 1);
  EVP_EncodeBlock(room.data(), reinterpret_cast<const unsigned char*>(bytes.data()),
                  static_cast<int>(bytes.size()));
  text.assign(room.begin(), room.end() - 1);
  return text;
}

}  // namespace segmask
