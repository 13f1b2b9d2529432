// Gathering a frame's detections: payloads of every form and with every kind of value in them, producers that
// are missing, listed twice or without a key, inputs that are null. The input is a program that builds them;
// all of it is compared with a plain reading of the rules.

#include <cstring>
#include <new>

#include "detection/detections.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/delivery_builder.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_numbers.h"
#include "test_support/FrameContext.h"
#include "test_support/StderrCapture.h"
#include "test_support/model/producers.h"

namespace {

using seg_mask::DetView;
using seg_mask::FrameDetections;

// Lists that no context would give, too: a key twice or empty, a producer without inputs, a null among them.
model::Producers buildProducers(FuzzInput& input, const std::vector<RenderInput>& inputs) {
  model::Producers producers;
  for (unsigned count = input.below(6); count > 0; --count) producers.order.push_back(fuzz::buildKey(input));
  for (const std::string& key : producers.order) {
    if (producers.inputsOf(key) != nullptr || input.below(8) == 0) continue;
    std::vector<const RenderInput*> ofProducer;
    for (unsigned count = input.below(5); count > 0; --count) {
      const unsigned place = input.below(16);
      ofProducer.push_back(place < inputs.size() ? &inputs[place] : nullptr);
    }
    producers.inputs.emplace_back(key, std::move(ofProducer));
  }
  return producers;
}

RenderProducerTypeView viewOf(const model::Producers& producers) {
  RenderProducerTypeView view;
  view.producers = producers.order;
  for (const auto& [key, list] : producers.inputs) view.inputsByProducer.emplace(key, list);
  return view;
}

// Small mostly, so that it is reached.
std::size_t buildCap(FuzzInput& input) {
  const unsigned cap = input.byte();
  return cap < 128 ? 1 + cap % 8 : cap;
}

std::string textOf(const std::vector<std::uint64_t>& frames) {
  std::string text;
  for (const std::uint64_t frame : frames) text += std::to_string(frame) + " ";
  return text;
}

void checkDetection(const DetView& actual, const scene::Detection& expected) {
  fuzz::check(actual.x == expected.x, "x");
  fuzz::check(actual.y == expected.y, "y");
  fuzz::check(actual.w == expected.w, "w");
  fuzz::check(actual.h == expected.h, "h");
  fuzz::check(actual.class_id == expected.class_id, "class_id");
  fuzz::check(reference::identical(actual.score, expected.score), "score");
  fuzz::checkEqual(actual.class_info, expected.mask, "class_info");
}

void checkFrame(const FrameDetections& actual, const model::Gathering& expected) {
  fuzz::checkEqual(std::to_string(actual.detections.size()), std::to_string(expected.detections.size()),
                   "the number of detections");
  for (std::size_t i = 0; i < actual.detections.size(); ++i) {
    checkDetection(actual.detections[i], expected.detections[i]);
  }
  fuzz::checkEqual(std::to_string(actual.missing), std::to_string(expected.missing), "missing producers");
  fuzz::checkEqual(std::to_string(actual.lookback), std::to_string(expected.lookback),
                   "producers that look back");
}

// Runs it and says what it threw.
template <typename Action>
std::string outcomeOf(const Action& action) {
  try {
    action();
    return "nothing";
  } catch (const fuzz::ResolverError&) {
    return "the resolver's error";
  } catch (const std::bad_alloc&) {
    return "std::bad_alloc";
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  const StderrCapture building;  // the registry's line
  const std::size_t cap = buildCap(input);
  const unsigned resolverKind = input.below(16);
  fuzz::Deliveries deliveries(input, 12);
  const model::Producers producers = buildProducers(input, deliveries.inputs());

  plugin_test::FrameContext parts;
  RenderContext& ctx = parts.ctx;
  ctx.frame_id = input.byte();
  if (resolverKind == 0) ctx.payload_resolver = nullptr;
  if (resolverKind == 1) parts.resolver.resolve = nullptr;
  if (resolverKind > 1) deliveries.resolveFor(ctx);

  model::Gathering expected;
  std::vector<std::uint64_t> asked;
  const std::string expectedOutcome = outcomeOf([&] {
    expected = model::gather(producers, static_cast<int32_t>(cap),
                             [&](const RenderInput& one) { return deliveries.deliver(one, ctx, asked); });
  });

  const StderrCapture captured;
  FrameDetections actual;
  const RenderProducerTypeView view = viewOf(producers);
  const std::string outcome = outcomeOf([&] { actual = seg_mask::gatherDetections(ctx, view, cap); });
  fuzz::checkEqual(outcome, expectedOutcome, "what gathering throws");
  fuzz::checkEqual(textOf(deliveries.resolved()), textOf(asked), "the frames that are resolved");
  if (outcome == "nothing") checkFrame(actual, expected);
  fuzz::checkEqual(captured.text(), "", "standard error");
  return 0;
}
