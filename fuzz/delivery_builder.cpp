#include "fuzz/delivery_builder.h"

#include <cstddef>
#include <new>
#include <stdexcept>
#include <utility>

#include "core/SwJsonArray.h"
#include "core/SwJsonDocument.h"
#include "fuzz/detection_builder.h"
#include "fuzz/tree_builder.h"

namespace fuzz {

/// A payload type of a host's own, whose conversion to a JSON object does as it is told.
struct HostPayload {
  enum class Conversion { object, error, number, wrongType, noStorage, outOfMemory };
  Conversion conversion = Conversion::object;
  SwJsonObject object;
};

/// A payload that only the resolver can open; without content it throws.
struct SealedPayload {
  bool throws = false;
  SwAny content;
};

namespace {

SwAny convertHostPayload(const SwAny& any) {
  const auto& payload = any.get<HostPayload>();
  switch (payload.conversion) {
    case HostPayload::Conversion::object:
      break;
    case HostPayload::Conversion::error:
      throw std::runtime_error("no object today");
    case HostPayload::Conversion::number:
      throw 17;
    case HostPayload::Conversion::wrongType:
      return SwAny(17);
    case HostPayload::Conversion::noStorage:
      return SwAny::fromVoidPtr(SwAny::typeNameOf<SwJsonObject>(), nullptr);
    case HostPayload::Conversion::outOfMemory:
      throw std::bad_alloc();
  }
  return SwAny(payload.object);
}

void registerPayloads() {
  static const bool registered = [] {
    SwAny::registerMetaType<HostPayload>();
    SwAny::registerMetaType<SealedPayload>();
    SwAny::registerConverter(SwAny::typeNameOf<HostPayload>(), SwAny::typeNameOf<SwJsonObject>(),
                             convertHostPayload);
    return true;
  }();
  static_cast<void>(registered);
}

SwAny opened(const SwAny& stored) {
  if (stored.typeName() != SwAny::typeNameOf<SealedPayload>()) return stored;
  const auto& sealed = stored.get<SealedPayload>();
  if (sealed.throws) throw ResolverError();
  return sealed.content;
}

// The parser has a fuzzer of its own.
std::vector<scene::Detection> detectionsOfText(const std::string& text) {
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(text, error) || !document.root().isObject()) return {};
  return model::detectionsOf(*document.root().object());
}

std::string textOf(const SwJsonObject& object) {
  return SwAny(object).toString(6);
}

}  // namespace

Deliveries::Deliveries(FuzzInput& input, unsigned most) {
  registerPayloads();
  std::vector<RenderInput>& inputs = byType_["detection.v1"];
  for (unsigned count = input.below(most + 1); count > 0; --count) {
    RenderInput& delivered = inputs.emplace_back();
    delivered.producer_id = buildKey(input);
    if (delivered.producer_id.empty()) delivered.producer_name = buildKey(input);
    const unsigned flags = input.byte();
    delivered.uses_lookback = (flags & 1U) != 0;
    if ((flags & 2U) != 0) delivered.frame_id = input.number<std::uint64_t>();
    delivered.payload = buildPayload(input, expected_.emplace_back());
  }
  resolver_.resolve = [this](std::uint64_t frame, const SwAny& stored) {
    resolved_.push_back(frame);
    return opened(stored);
  };
}

SwAny Deliveries::buildPayload(FuzzInput& input, Expected& expected) {
  switch (input.below(16)) {
    case 0:
      return SwAny();
    case 1: {
      std::string text = input.piece();
      expected.detections = detectionsOfText(text);
      return SwAny(SwString(text));
    }
    case 2: {
      std::string text = textOf(buildDetections(input)) + (input.flag() ? "" : input.piece());
      expected.detections = detectionsOfText(text);
      return SwAny(std::move(text));
    }
    case 3: {
      const std::string text = textOf(buildDetections(input));
      expected.detections = detectionsOfText(text);
      return SwAny(SwString(text));
    }
    case 4: {
      // Through its text, and the digits that it has there.
      const SwJsonObject object = buildDetections(input);
      expected.detections = detectionsOfText(textOf(object));
      return SwAny(SwJsonValue(object));
    }
    case 5: {
      SwJsonArray array;
      array.append(buildDetections(input));
      return SwAny(std::move(array));
    }
    case 6:
      return SwAny(input.number<double>());
    case 7:
      return SwAny::fromVoidPtr(SwAny::typeNameOf<SwJsonObject>(), nullptr);
    case 8: {
      HostPayload payload;
      payload.conversion = static_cast<HostPayload::Conversion>(input.below(6));
      payload.object = buildDetections(input);
      if (payload.conversion == HostPayload::Conversion::object) {
        expected.detections = model::detectionsOf(payload.object);
      } else if (payload.conversion == HostPayload::Conversion::outOfMemory) {
        expected.outcome = Outcome::outOfMemory;
      }
      return SwAny::from(std::move(payload));
    }
    case 9: {
      SealedPayload sealed;
      sealed.throws = input.below(4) == 0;
      if (!sealed.throws) {
        SwJsonObject object = buildDetections(input);
        expected.detections = model::detectionsOf(object);
        sealed.content = SwAny(std::move(object));
      } else {
        expected.outcome = Outcome::resolverThrows;
      }
      return SwAny::from(std::move(sealed));
    }
    default: {
      SwJsonObject object = buildDetections(input);
      expected.detections = model::detectionsOf(object);
      return SwAny(std::move(object));
    }
  }
}

void Deliveries::resolveFor(RenderContext& ctx) {
  ctx.payload_resolver = &resolver_;
}

std::vector<scene::Detection> Deliveries::deliver(const RenderInput& input, const RenderContext& ctx,
                                                  std::vector<std::uint64_t>& asked) const {
  if (ctx.payload_resolver == nullptr || !ctx.payload_resolver->resolve || input.payload.isEmpty()) return {};
  asked.push_back(input.frame_id == 0 ? ctx.frame_id : input.frame_id);
  const Expected& expected = expected_[static_cast<std::size_t>(&input - inputs().data())];
  if (expected.outcome == Outcome::resolverThrows) throw ResolverError();
  if (expected.outcome == Outcome::outOfMemory) throw std::bad_alloc();
  return expected.detections;
}

std::string buildKey(FuzzInput& input) {
  const unsigned kind = input.below(8);
  if (kind == 0) return "";
  if (kind == 7) return input.piece();
  return std::string(1, "aabbcd"[kind - 1]);
}

}  // namespace fuzz
