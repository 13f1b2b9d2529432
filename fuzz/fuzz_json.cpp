// Plain JSON: the parser against the reference. The input is the text, parsed from the start as a document,
// and value by value from other indices, past the end included.

#include <limits>

#include "core/SwJsonDocument.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_json.h"
#include "fuzz/reference_numbers.h"
#include "test_support/StderrCapture.h"

namespace {

void checkDocument(const std::string& text) {
  const reference::ParsedJson expected = reference::parseJson(text, 0, "");
  SwJsonDocument document;
  SwString error = "from before";
  const bool accepted = document.loadFromJson(text, error);
  if (expected.tooDeep) return;

  std::size_t end = expected.index;
  while (end < text.size() && reference::isSpace(text[end])) ++end;
  const bool trailing = expected.error.empty() && end < text.size();
  const std::string expectedError = trailing ? "Unexpected characters at the end of JSON." : expected.error;
  fuzz::checkEqual(error, expectedError, "loadFromJson's message");
  fuzz::check(accepted == expectedError.empty(), "loadFromJson's verdict");
  fuzz::check(reference::identical(document.root(), expected.value), "loadFromJson's root");

  const SwJsonObject object = document.object();
  fuzz::check(document.root().isObject() ? SwJsonValue(object) == document.root() : object.empty(),
              "object()");
}

void checkValueAt(const std::string& text, unsigned long start) {
  const reference::ParsedJson expected = reference::parseJson(text, start, "");
  SwString error;
  unsigned long index = start;
  const SwJsonValue value = SwJsonDocument().parseJson(text, index, "", error);
  if (expected.tooDeep) return;
  fuzz::checkEqual(error, expected.error, "parseJson's message");
  fuzz::check(index == expected.index, "parseJson's index");
  fuzz::check(reference::identical(value, expected.value), "parseJson's value");
}

void checkStringAt(const std::string& text, unsigned long start) {
  const reference::ParsedString expected = reference::parseString(text, start);
  SwString error;
  unsigned long index = start;
  const SwString value = SwJsonDocument().parseString(text, index, error);
  fuzz::checkEqual(value, expected.text, "parseString's text");
  fuzz::checkEqual(error, expected.error, "parseString's message");
  fuzz::check(index == expected.index, "parseString's index");
}

void checkMessageAt(const std::string& text, unsigned long index) {
  SwString error;
  SwJsonDocument().reportError(error, text, index, "what");
  fuzz::checkEqual(error, reference::errorMessage(text, index, "what"), "reportError's message");
  const SwString first = error;
  SwJsonDocument().reportError(error, text, index / 2, "another");
  fuzz::checkEqual(error, first, "reportError keeps the first message");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = FuzzInput(data, size).rest();
  const StderrCapture captured;
  checkDocument(text);
  fuzz::check(captured.text().empty() || captured.text() == "Root is not a JSON object.\n",
              "what object() writes to standard error");

  // Every index of a short text, a few of a long one.
  const std::size_t step = text.size() <= 24 ? 1 : 1 + text.size() / 6;
  for (unsigned long start = 1; start <= text.size() + 1; start += step) {
    checkValueAt(text, start);
    if (start < text.size() && text[start] == '"') checkStringAt(text, start);
    checkMessageAt(text, start);
  }
  for (const unsigned long far :
       {text.size() + 19, text.size() + 20, text.size() + 21, std::numeric_limits<unsigned long>::max() - 20,
        std::numeric_limits<unsigned long>::max()}) {
    checkValueAt(text, far);
    checkMessageAt(text, far);
  }
  return 0;
}
