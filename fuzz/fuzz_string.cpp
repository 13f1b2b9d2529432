// SwString's operations on bytes against plain models. The input is a position, a length, a separator, a
// piece and the text.

#include <string>
#include <vector>

#include "core/SwString.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_numbers.h"
#include "test_support/StderrCapture.h"

namespace {

std::string midOf(const std::string& text, long position, long length) {
  std::string result;
  if (position < 0) return result;
  for (long at = position; at < static_cast<long>(text.size()); ++at) {
    if (length >= 0 && at - position >= length) break;
    result += text[static_cast<std::size_t>(at)];
  }
  return result;
}

std::string filled(const std::string& text, const std::string& value) {
  for (std::size_t at = 0; at + 1 < text.size(); ++at) {
    if (text[at] == '%' && reference::isDigit(text[at + 1]))
      return text.substr(0, at) + value + text.substr(at + 2);
  }
  return text;
}

void checkSplit(const SwString& text, char separator) {
  const std::vector<std::string> expected = reference::partsOf(text, separator);
  const std::vector<SwString> parts = text.split(separator);
  fuzz::check(parts.size() == expected.size(), "the number of parts");
  for (std::size_t i = 0; i < parts.size(); ++i) fuzz::checkEqual(parts[i], expected[i], "a part");
}

void checkOrder(const SwString& a, const SwString& b) {
  fuzz::check((a < b) == (a.str() < b.str()), "operator<");
  fuzz::check((a == b) == (a.str() == b.str()), "operator==");
  fuzz::check((a != b) == (a.str() != b.str()), "operator!=");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  // Small ones mostly: others lie outside any text.
  const bool any = input.flag();
  const int position = any ? input.number<int>() : input.number<std::int8_t>();
  const int length = any ? input.number<int>() : input.number<std::int8_t>();
  const auto separator = static_cast<char>(input.number<signed char>());
  const SwString piece = input.piece();
  const SwString text = input.rest();

  const StderrCapture captured;
  fuzz::checkEqual(text.mid(position, length), midOf(text, position, length), "mid");
  fuzz::checkEqual(text.arg(piece), filled(text, piece), "arg");
  fuzz::checkEqual(text.arg(piece).arg(text), filled(filled(text, piece), text), "arg twice");
  fuzz::checkEqual(text.trimmed(), reference::trimmed(text), "trimmed");
  checkSplit(text, separator);
  if (!text.empty()) checkSplit(text, text[0]);
  fuzz::checkEqual(text + piece, text.str() + piece.str(), "operator+");
  SwString appended = text;
  appended += piece;
  appended.append(piece.data(), piece.size()).append(3, separator);
  fuzz::checkEqual(appended, text.str() + piece.str() + piece.str() + std::string(3, separator), "append");
  checkOrder(text, piece);
  fuzz::checkEqual(captured.text(), "", "standard error");
  return 0;
}
