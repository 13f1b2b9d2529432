#include "src/SwJsonCursor.h"

#include <algorithm>
#include <limits>

namespace {

/// How many bytes of the text an error message quotes before the error and from it on.
constexpr unsigned long kExcerptReach = 20;

/// SwString::mid counts in int.
int clampToInt(unsigned long position) {
  constexpr unsigned long kMax = std::numeric_limits<int>::max();
  return static_cast<int>(std::min(position, kMax));
}

}  // namespace

SwJsonCursor::SwJsonCursor(const SwString& json, unsigned long& index, SwString& errorMessage)
    : json_(json),
      callersIndex_(index),
      errorMessage_(errorMessage),
      start_(json.data()),
      end_(start_ + json.size()),
      at_(start_ + std::min<unsigned long>(index, json.size())) {}

void SwJsonCursor::fail(const char* message, const char* at) {
  reportJsonError(errorMessage_, json_, static_cast<unsigned long>(at - start_), message);
}

void reportJsonError(SwString& errorMessage, const SwString& json, unsigned long index,
                     const std::string& message) {
  if (!errorMessage.empty()) return;
  const unsigned long start = std::max(index, kExcerptReach) - kExcerptReach;
  const unsigned long end =
      index < json.size() ? index + std::min<unsigned long>(kExcerptReach, json.size() - index) : json.size();
  const int first = clampToInt(start);
  const SwString excerpt = json.mid(first, clampToInt(end) - first);
  errorMessage = message + " (index " + std::to_string(index) + ") near \"" + excerpt.str() + "\"";
}
