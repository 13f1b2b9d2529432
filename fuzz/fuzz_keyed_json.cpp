// Keyed JSON: the parser against the reference, and what goes to standard error. The input is the key up to
// the first line feed, then the text, in which every <...> stands for the cipher text of what is between the
// brackets.

#include "core/SwJsonDocument.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_encryption.h"
#include "fuzz/reference_json.h"
#include "test_support/StderrCapture.h"

namespace {

std::string withPiecesEncrypted(const std::string& text, const std::string& key) {
  std::string out;
  std::size_t at = 0;
  for (;;) {
    const std::size_t open = text.find('<', at);
    const std::size_t close = open == std::string::npos ? open : text.find('>', open);
    if (close == std::string::npos) return out + text.substr(at);
    out += text.substr(at, open - at) + reference::encrypt(text.substr(open + 1, close - open - 1), key);
    at = close + 1;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  const std::string key = input.upTo('\n');
  const std::string text = withPiecesEncrypted(input.rest(), key);
  const reference::ParsedJson expected = reference::parseJson(text, 0, key);

  const StderrCapture captured;
  SwString error;
  unsigned long index = 0;
  const SwJsonValue value = SwJsonDocument().parseJson(text, index, key, error);
  if (expected.tooDeep) return 0;
  fuzz::checkEqual(error, expected.error, "the message");
  fuzz::check(index == expected.index, "the index");
  fuzz::check(reference::identical(value, expected.value), "the value");
  fuzz::checkEqual(captured.text(), expected.diagnostics, "standard error");

  SwJsonDocument document;
  const bool accepted = document.loadFromJson(text, error, key);
  fuzz::check(accepted == error.empty(), "loadFromJson's verdict");
  fuzz::check(reference::identical(document.root(), expected.value), "loadFromJson's root");
  return 0;
}
