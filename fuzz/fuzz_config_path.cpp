// swcfg::getValue against a plain model. The input is the path up to the first line feed, then the root as a
// JSON text.

#include <vector>

#include "core/SwJsonDocument.h"
#include "core/swcfg.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_json.h"
#include "fuzz/reference_numbers.h"
#include "test_support/StderrCapture.h"

namespace {

std::vector<std::string> namesOf(const std::string& path) {
  std::vector<std::string> names;
  std::string name;
  for (const char byte : path + "/") {
    if (byte != '/' && byte != '\\') {
      name += byte;
      continue;
    }
    while (!name.empty() && reference::isSpace(name.front())) name.erase(0, 1);
    while (!name.empty() && reference::isSpace(name.back())) name.pop_back();
    if (!name.empty()) names.push_back(name);
    name.clear();
  }
  return names;
}

// Null if there is none.
const reference::JsonValue* valueAt(const reference::JsonValue& root, const std::string& path) {
  const std::vector<std::string> names = namesOf(path);
  if (names.empty()) return nullptr;
  const reference::JsonValue* value = &root;
  for (const std::string& name : names) {
    value = value->member(name);
    if (value == nullptr) return nullptr;
  }
  return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  const std::string path = input.upTo('\n');
  const std::string text = input.rest();
  const StderrCapture captured;
  SwJsonDocument document;
  SwString error;
  document.loadFromJson(text, error);
  if (!document.root().isObject()) return 0;
  const std::optional<reference::JsonValue> root = reference::modelOf(document.root());
  if (!root) return 0;

  const reference::JsonValue* expected = valueAt(*root, path);
  SwJsonValue value = "as it was";
  const bool found = swcfg::getValue(*document.root().object(), path, value);
  fuzz::check(found == (expected != nullptr), "whether there is a value");
  const reference::JsonValue untouched = reference::JsonValue::ofString("as it was");
  fuzz::check(reference::identical(value, expected != nullptr ? *expected : untouched), "the value");
  fuzz::checkEqual(captured.text(), "", "standard error");
  return 0;
}
