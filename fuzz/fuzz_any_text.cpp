// SwAny: conversions between a text and every type, texts of any precision, payloads, and values that are
// copied, moved, converted and cleared in any order, against a std::variant. The input is the text; its bytes
// are also the program of what happens to the values.

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "core/SwAny.h"
#include "core/SwJsonDocument.h"
#include "core/SwList.h"
#include "core/render_payload.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_json.h"
#include "fuzz/reference_numbers.h"
#include "test_support/StderrCapture.h"
#include "test_support/model/nearest_float.h"

namespace {

using Bytes = std::vector<unsigned char>;
using Texts = std::vector<std::string>;
using ByteList = SwList<unsigned char>;

// What a SwAny can hold here; std::monostate for nothing.
using Model =
    std::variant<std::monostate, bool, int, long, float, double, unsigned int, unsigned long, std::string,
                 Bytes, SwString, Texts, ByteList, SwJsonValue, SwJsonObject, SwJsonArray>;

template <typename T>
bool same(const T& a, const T& b) {
  if constexpr (std::is_floating_point_v<T>) {
    return reference::identical(a, b);
  } else {
    return a == b;
  }
}

std::string typeNameOf(const Model& model) {
  return std::visit(
      [](const auto& value) -> std::string {
        using T = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          return "";
        } else {
          return SwAny::typeNameOf<T>();
        }
      },
      model);
}

SwAny anyOf(const Model& model) {
  return std::visit(
      [](const auto& value) -> SwAny {
        using T = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          return SwAny();
        } else {
          return SwAny::from(value);
        }
      },
      model);
}

void checkHolds(const SwAny& any, const Model& model) {
  fuzz::checkEqual(any.typeName(), typeNameOf(model), "the held type");
  fuzz::check(any.isEmpty() == std::holds_alternative<std::monostate>(model), "isEmpty");
  std::visit(
      [&any](const auto& value) {
        using T = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          fuzz::check(any.data() == nullptr, "an empty SwAny has no value");
        } else {
          fuzz::check(same(any.get<T>(), value), "the held value");
        }
      },
      model);
}

std::string jsonText(const SwJsonValue& value) {
  if (value.isDouble()) return reference::generalText(value.number(), 6);
  const std::optional<reference::JsonValue> model = reference::modelOf(value);
  return reference::generateJson(model.value(), false, 0, "");
}

// The text that a value's conversion to SwString gives. Nothing if there is no such conversion.
std::optional<std::string> textOf(const Model& model) {
  return std::visit(
      [](const auto& value) -> std::optional<std::string> {
        using T = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<T, std::monostate> || std::is_same_v<T, Bytes>) {
          return std::nullopt;
        } else if constexpr (std::is_same_v<T, bool>) {
          return value ? "true" : "false";
        } else if constexpr (std::is_same_v<T, float>) {
          return reference::generalText(static_cast<double>(value), 10);
        } else if constexpr (std::is_same_v<T, double>) {
          return reference::generalText(value, 15);
        } else if constexpr (std::is_arithmetic_v<T>) {
          return std::to_string(value);
        } else if constexpr (std::is_same_v<T, std::string>) {
          return value;
        } else if constexpr (std::is_same_v<T, SwString>) {
          return value.str();
        } else if constexpr (std::is_same_v<T, Texts>) {
          std::string text;
          for (const std::string& part : value) text += part + ",";
          return text.substr(0, text.empty() ? 0 : text.size() - 1);
        } else if constexpr (std::is_same_v<T, ByteList>) {
          return std::string(value.begin(), value.end());
        } else {
          return jsonText(value);
        }
      },
      model);
}

std::uint64_t unsignedOf(const std::string& text, std::uint64_t max) {
  const std::string trimmed = reference::trimmed(text);
  if (!trimmed.empty() && trimmed[0] == '-') return 0;
  const std::optional<std::uint64_t> value = reference::unsignedPrefix(trimmed, 0);
  return value && *value <= max ? *value : 0;
}

// What the text becomes as the named type. Nothing if there is no such conversion.
std::optional<Model> fromText(const std::string& text, const std::string& target, std::string& diagnostics) {
  std::size_t consumed = 0;
  if (target == SwAny::typeNameOf<bool>()) return text == "true";
  if (target == SwAny::typeNameOf<long>()) {
    return static_cast<long>(reference::signedPrefix(text, 0, consumed).value_or(0));
  }
  if (target == SwAny::typeNameOf<unsigned int>()) {
    return static_cast<unsigned int>(unsignedOf(text, std::numeric_limits<unsigned int>::max()));
  }
  if (target == SwAny::typeNameOf<unsigned long>()) {
    return static_cast<unsigned long>(unsignedOf(text, std::numeric_limits<unsigned long>::max()));
  }
  if (target == SwAny::typeNameOf<int>()) {
    const std::optional<int> value = reference::toInt(text);
    if (!value) diagnostics += "Invalid int conversion in SwString: " + text + "\n";
    return value.value_or(0);
  }
  if (target == SwAny::typeNameOf<float>() || target == SwAny::typeNameOf<double>()) {
    const bool isFloat = target == SwAny::typeNameOf<float>();
    const std::optional<double> value = reference::numericDouble(text);
    if (!value) {
      diagnostics +=
          std::string("Invalid ") + (isFloat ? "float" : "double") + " conversion in SwString: " + text;
      diagnostics += '\n';
    }
    if (isFloat) return value ? model::nearestFloat(*value) : 0.0F;
    return value.value_or(0.0);
  }
  if (target == SwAny::typeNameOf<std::string>()) return text;
  if (target == SwAny::typeNameOf<Bytes>()) return Bytes(text.begin(), text.end());
  if (target == SwAny::typeNameOf<Texts>()) return reference::partsOf(text, ',');
  if (target == SwAny::typeNameOf<ByteList>()) {
    const std::string trimmed = reference::trimmed(text);
    return ByteList(trimmed.begin(), trimmed.end());
  }
  return std::nullopt;
}

Model converted(const Model& from, const std::string& target, std::string& diagnostics) {
  const std::string source = typeNameOf(from);
  if (target == source) return from;
  if (const SwString* text = std::get_if<SwString>(&from)) {
    if (std::optional<Model> value = fromText(*text, target, diagnostics)) return *std::move(value);
  } else if (target == SwAny::typeNameOf<SwString>()) {
    if (const std::optional<std::string> written = textOf(from)) return SwString(*written);
  }
  diagnostics += "No conversion rule registered from " + source + " to " + target + "\n";
  return std::monostate();
}

constexpr int kLargestPrecision = std::numeric_limits<int>::max();

// The largest, or one about which the digits of a double end: it has no more than 767.
int precisionOf(FuzzInput& input) {
  const int number = input.number<std::int16_t>();
  return number == std::numeric_limits<std::int16_t>::max() ? kLargestPrecision : number % 800;
}

std::string expectedText(const Model& model, int asked) {
  // The C library would take gigabytes for the largest.
  const int precision = std::min(asked, 800);
  if (const double* value = std::get_if<double>(&model)) return reference::generalText(*value, precision);
  if (const float* value = std::get_if<float>(&model)) {
    return reference::generalText(static_cast<double>(*value), precision);
  }
  return textOf(model).value_or("");
}

template <std::size_t... Index>
std::array<Model, sizeof...(Index)> allOf(std::index_sequence<Index...>) {
  return {Model(std::in_place_index<Index>)...};
}

// A zero or an empty value of each type, in the order of the variant.
const std::array<Model, 16>& oneOfEach() {
  static const std::array<Model, 16> models = allOf(std::make_index_sequence<std::variant_size_v<Model>>());
  return models;
}

Model jsonOf(const std::string& text) {
  SwJsonDocument document;
  SwString error;
  document.loadFromJson(text, error);
  const SwJsonValue& root = document.root();
  if (!reference::modelOf(root)) return SwJsonValue();
  if (root.isObject()) return *root.object();
  if (root.isArray()) return *root.array();
  return root;
}

Model readModel(FuzzInput& input) {
  switch (input.below(14)) {
    case 0:
      return input.flag();
    case 1:
      return input.number<int>();
    case 2:
      return input.number<long>();
    case 3:
      return input.number<float>();
    case 4:
      return input.number<double>();
    case 5:
      return input.number<unsigned int>();
    case 6:
      return input.number<unsigned long>();
    case 7:
      return input.piece();
    case 8: {
      const std::string bytes = input.piece();
      return Bytes(bytes.begin(), bytes.end());
    }
    case 9:
      return reference::partsOf(input.piece(), ',');
    case 10: {
      const std::string bytes = input.piece();
      return ByteList(bytes.begin(), bytes.end());
    }
    case 11:
      return jsonOf(input.piece());
    case 12:
      return SwJsonValue(input.piece());
    default:
      return SwString(input.piece());
  }
}

void checkText(const std::string& text) {
  const SwAny any = SwString(text);
  for (const Model& target : oneOfEach()) {
    const StderrCapture captured;
    std::string diagnostics;
    const Model expected = converted(SwString(text), typeNameOf(target), diagnostics);
    const SwAny result = any.convert(typeNameOf(target));
    checkHolds(result, expected);
    fuzz::checkEqual(captured.text(), diagnostics, "standard error of a conversion");
    if (const std::optional<std::string> back = textOf(expected)) {
      fuzz::checkEqual(result.convert(SwAny::typeNameOf<SwString>()).get<SwString>(), *back,
                       "the text again");
    }
  }
  const SwAny pointer = any.convert(SwAny::typeNameOf<const char*>());
  fuzz::checkEqual(pointer.get<const char*>(), text.c_str(), "the bytes a pointer leads to");
  fuzz::checkEqual(pointer.toString(6), text.c_str(), "a pointer's text");
  fuzz::checkEqual(any.toString(6), text, "a text's text");
}

void checkPayload(const std::string& text) {
  const StderrCapture captured;
  const reference::ParsedJson parsed = reference::parseJson(text, 0, "");
  const SwJsonObject object = render_payload::anyToJsonObject(SwString(text));
  if (parsed.tooDeep) return;
  const std::size_t end = text.find_first_not_of(" \t\n\v\f\r", parsed.index);
  const bool isObject = parsed.error.empty() && end == std::string::npos &&
                        parsed.value.kind == reference::JsonValue::Kind::Object;
  fuzz::check(isObject ? reference::identical(SwJsonValue(object), parsed.value) : object.empty(),
              "the payload");
  fuzz::checkEqual(captured.text(), "", "standard error of a payload");
}

// One step of the program: something happens to one of the values, or to one by way of another.
void step(FuzzInput& input, std::array<SwAny, 4>& anys, std::array<Model, 4>& models) {
  const unsigned to = input.below(4);
  const unsigned from = input.below(4);
  const StderrCapture captured;
  std::string diagnostics;
  switch (input.below(8)) {
    case 0:
      models[to] = readModel(input);
      anys[to] = anyOf(models[to]);
      break;
    case 1:
      models[to] = Model(models[from]);
      anys[to] = std::as_const(anys[from]);
      break;
    case 2:
      if (to == from) return;  // the library promises no more than std::variant does
      models[to] = std::exchange(models[from], Model());
      anys[to] = std::move(anys[from]);
      break;
    case 3:
      models[to] = Model();
      anys[to].clear();
      break;
    case 4: {
      const std::string target = typeNameOf(oneOfEach()[input.below(16)]);
      models[to] = converted(models[from], target, diagnostics);
      anys[to] = anys[from].convert(target);
      break;
    }
    case 5: {
      const int precision = precisionOf(input);
      fuzz::checkEqual(anys[from].toString(precision), expectedText(models[from], precision), "toString");
      break;
    }
    case 6:
      models[to] = Model(models[from]);
      anys[to] = SwAny::fromVoidPtr(anys[from].typeName(), anys[from].data());
      break;
    default: {
      SwAny copy(anys[from]);
      anys[to].copyFrom(SwAny(std::move(copy)));
      models[to] = Model(models[from]);
    }
  }
  fuzz::checkEqual(captured.text(), diagnostics, "standard error of a step");
  for (unsigned i = 0; i < anys.size(); ++i) checkHolds(anys[i], models[i]);
}

void fillRegistry() {
  const StderrCapture captured;
  fuzz::check(!SwAny::getConversionRules().empty(), "the registry is filled");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fillRegistry();
  const std::string text = FuzzInput(data, size).rest();
  checkText(text);
  checkPayload(text);

  FuzzInput program(data, size);
  std::array<SwAny, 4> anys;
  std::array<Model, 4> models;
  for (int steps = 0; steps < 200 && !program.atEnd(); ++steps) step(program, anys, models);
  return 0;
}
