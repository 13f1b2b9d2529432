#pragma once

#include <cstdint>
#include <string>

namespace segmask {

/// The text as HTML, for elements and for attributes in double quotes: nothing in it is markup. Control bytes
/// become their pictures (U+2400 and on), and bytes that are no UTF-8 become U+FFFD.
std::string htmlText(const std::string& text);

/// "1 frame", "12,345 frames".
std::string countText(uint64_t count, const std::string& noun);

/// With so many digits after the point, in any locale.
std::string fixedText(double number, int digits);

/// A duration in milliseconds, with its unit and three digits after the point.
std::string millisecondsText(double milliseconds);

/// A time in a video: 75.25 as "1:15.25", with hours where there are any.
std::string timeText(double seconds);

/// 1536 as "1.5 KiB", with the number of bytes below that.
std::string sizeText(uint64_t bytes);

/// The bytes as base64, with padding.
std::string base64Text(const std::string& bytes);

}  // namespace segmask
