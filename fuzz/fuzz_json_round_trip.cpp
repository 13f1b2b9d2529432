// Trees to text and back. What is written is compared with the reference's text, and what is read again with
// the tree as the generator's losses leave it (readBack below). An input that begins with 't' goes on with a
// JSON text; any other is the bytes to build a tree from, which the parser's own trees do not reach: NaN,
// subnormal numbers, containers that are absent.

#include <cmath>
#include <cstdio>
#include <optional>

#include "core/SwJsonDocument.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_json.h"
#include "fuzz/reference_numbers.h"
#include "fuzz/tree_builder.h"
#include "test_support/StderrCapture.h"

namespace {

using reference::JsonValue;

// The trees that the generator writes and what the parser makes of its text:
//
// - Null, Bool, Int, String, keys, order: kept in a plain document. Under a key, Null becomes an empty
// String, with
//   decryptAES's line, and a String is typed again as a quoted text.
// - A Double without a fraction: an Int, saturated to 64 bits.
// - Any other Double: what its six significant digits say, an Int if they need no point and no exponent.
// - A NaN, and a number whose six digits are subnormal: the text cannot be read. Under a key such a text is a
// String.
class ReadBack {
 public:
  explicit ReadBack(bool keyed) : keyed_(keyed) {}

  /// Nothing if the text cannot be read.
  std::optional<JsonValue> of(const JsonValue& value) {
    switch (value.kind) {
      case JsonValue::Kind::Null:
        if (!keyed_) return value;
        diagnostics_ += "Decryption error: Invalid data size for AES-ECB (must be multiple of 16).\n";
        return JsonValue::ofString("");
      case JsonValue::Kind::String:
        return keyed_ ? reference::quotedValue(value.text, diagnostics_) : value;
      case JsonValue::Kind::Double:
        return ofDouble(value.number);
      case JsonValue::Kind::Object:
      case JsonValue::Kind::Array:
        return ofContainer(value);
      default:
        return value;
    }
  }

  const std::string& diagnostics() const { return diagnostics_; }

 private:
  std::optional<JsonValue> ofDouble(double number) const {
    const std::string text = reference::doubleText(number);
    if (std::isnan(number)) return unreadable(text);
    std::size_t consumed = 0;
    if (text.find_first_of(".e") == std::string::npos) {
      return JsonValue::ofInt(*reference::signedPrefix(text, 10, consumed));
    }
    const std::optional<double> rounded = reference::doublePrefix(text, consumed);
    return rounded ? JsonValue::ofDouble(*rounded) : unreadable(text);
  }

  std::optional<JsonValue> unreadable(const std::string& text) const {
    return keyed_ ? std::optional(JsonValue::ofString(text)) : std::nullopt;
  }

  std::optional<JsonValue> ofContainer(const JsonValue& value) {
    JsonValue result = value;
    for (JsonValue& member : result.values) {
      std::optional<JsonValue> read = of(member);
      if (!read) return std::nullopt;
      member = *std::move(read);
    }
    return result;
  }

  bool keyed_;
  std::string diagnostics_;
};

SwString generated(const SwJsonValue& tree, bool indented, int level, const std::string& key) {
  SwString text = "before";
  SwJsonDocument().generateJson(tree, text, indented, level, key);
  fuzz::checkEqual(text.mid(0, 6), "before", "generateJson appends");
  return text.mid(6, -1);
}

void checkRoundTrip(const SwJsonValue& tree, const JsonValue& model, bool indented, int level,
                    const std::string& key) {
  const SwString text = generated(tree, indented, level, key);
  fuzz::checkEqual(text, reference::generateJson(model, indented, static_cast<std::size_t>(level), key),
                   "the generated text");

  ReadBack readBack(!key.empty());
  const std::optional<JsonValue> expected = readBack.of(model);
  const StderrCapture captured;
  SwJsonDocument document;
  SwString error;
  fuzz::check(document.loadFromJson(text, error, key) == expected.has_value(),
              "whether the text can be read");
  if (!expected) return;
  fuzz::check(reference::identical(document.root(), *expected), "the tree that was read again");
  fuzz::checkEqual(captured.text(), readBack.diagnostics(), "standard error while reading");
}

// The second text differs from the first where a whole number was written with an exponent: it is written as
// an integer then. From there on nothing changes.
void checkSettled(const SwJsonValue& tree) {
  SwJsonDocument document;
  SwString error;
  const SwString first = generated(tree, false, 0, "");
  if (!document.loadFromJson(first, error)) return;
  const SwString second = generated(document.root(), false, 0, "");
  if (first.str().find("e+") == std::string::npos) fuzz::checkEqual(second, first, "the second generation");
  fuzz::check(document.loadFromJson(second, error), "the second generation can be read");
  fuzz::checkEqual(generated(document.root(), false, 0, ""), second, "the third generation");
}

std::string plainText(const JsonValue& model) {
  switch (model.kind) {
    case JsonValue::Kind::String:
      return model.text;
    case JsonValue::Kind::Double: {
      char text[400];
      std::snprintf(text, sizeof(text), "%f", model.number);
      return text;
    }
    case JsonValue::Kind::Object:
    case JsonValue::Kind::Array:
      return "{}";
    default:
      return reference::generateJson(model, false, 0, "");
  }
}

void checkCopiesAndMoves(const SwJsonValue& tree, const JsonValue& model) {
  SwJsonValue copy(tree);
  fuzz::check(reference::modelOf(copy).has_value(), "a copy is as deep as its source");
  const SwString text = generated(tree, false, 0, "");
  fuzz::checkEqual(generated(copy, false, 0, ""), text, "a copy's text");

  SwJsonValue moved(std::move(copy));
  fuzz::check(copy.isNull(), "a moved-from value is Null");  // NOLINT(bugprone-use-after-move)
  fuzz::checkEqual(generated(moved, false, 0, ""), text, "a moved value's text");
  SwJsonValue assigned = "to be overwritten";
  assigned = moved;
  fuzz::checkEqual(generated(assigned, false, 0, ""), text, "an assigned value's text");

  // NaN equals nothing.
  if (text.str().find("nan") == std::string::npos) fuzz::check(assigned == tree, "a copy equals its source");
  if (model.kind == JsonValue::Kind::Array && !model.values.empty()) {
    assigned = SwJsonValue(assigned.array()->at(0));
    fuzz::check(assigned.kind() == model.values[0].kind, "a value assigned from inside itself");
  }
  fuzz::checkEqual(generated(moved, false, 0, ""), text, "a copy shares nothing with its source");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  SwJsonValue tree;
  if (input.byte() == 't') {
    SwJsonDocument document;
    SwString error;
    document.loadFromJson(input.rest(), error);
    tree = document.root();
  } else {
    tree = buildTree(input, 6);
  }
  const std::optional<JsonValue> model = reference::modelOf(tree);
  if (!model) return 0;

  const std::string key = "key of " + std::to_string(size);
  checkRoundTrip(tree, *model, false, 0, "");
  checkRoundTrip(tree, *model, true, static_cast<int>(size % 3), "");
  checkRoundTrip(tree, *model, size % 2 == 0, 0, key);
  checkSettled(tree);
  fuzz::checkEqual(tree.toString(), plainText(*model), "toString");
  checkCopiesAndMoves(tree, *model);
  return 0;
}
