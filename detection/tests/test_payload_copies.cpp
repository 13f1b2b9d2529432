// From a payload to records, counted in bytes that operator new is asked for: the tree is there once, and no
// mask text is copied.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

#include "core/SwJsonArray.h"
#include "core/SwJsonDocument.h"
#include "core/SwJsonValue.h"
#include "core/SwString.h"
#include "detection/detections.h"
#include "test_support/Allocations.h"
#include "test_support/FrameContext.h"

namespace seg_mask {
namespace {

constexpr int kDetections = 64;
constexpr std::size_t kTextBytes = 10'000;

/// For the records, lists that grow, names of types: far less than one list of texts.
constexpr long kSpare = 64'000;
static_assert(kSpare * 10 <= kDetections * static_cast<long>(kTextBytes));

SwJsonObject payloadTree() {
  SwJsonArray elements;
  for (int i = 0; i < kDetections; ++i) {
    SwJsonObject detection;
    detection.insert("x", i);
    detection.insert("class_info", std::string(kTextBytes, 'A'));
    elements.append(SwJsonValue(std::move(detection)));
  }
  SwJsonObject payload;
  payload.insert("detections", SwJsonValue(std::move(elements)));
  return payload;
}

SwString payloadText() {
  SwString text;
  SwJsonDocument().generateJson(payloadTree(), text, false, 0, SwString());
  return text;
}

long bytesOf(const std::function<void()>& work) {
  const long before = bytesMade();
  work();
  return bytesMade() - before;
}

/// What gathering the detections of one input asks for, with this resolver.
long bytesToGather(const SwAny& stored, std::function<SwAny(uint64_t, const SwAny&)> resolve) {
  plugin_test::FrameContext parts;
  parts.resolver.resolve = std::move(resolve);
  RenderProducerTypeView view;
  view.producers = {"p"};
  view.inputsByProducer["p"] = {&parts.deliver("p", stored)};
  FrameDetections frame;
  const long bytes = bytesOf([&] { frame = gatherDetections(parts.ctx, view, 256); });
  EXPECT_EQ(frame.detections.size(), static_cast<std::size_t>(kDetections));
  EXPECT_EQ(frame.detections.back().class_info.size(), kTextBytes);
  return bytes;
}

SwAny handOn(uint64_t, const SwAny& stored) {
  return stored;
}

class PayloadCopies : public testing::Test {
 protected:
  void SetUp() override { SwAny::getConversionRules(); }
};

TEST_F(PayloadCopies, ATreeIsCopiedByTheResolverThatReturnsWhatIsStoredAndByNobodyElse) {
  const SwAny stored = payloadTree();
  const long once = bytesOf([&] { const SwAny copy = stored; });
  EXPECT_GT(once, kDetections * static_cast<long>(kTextBytes));
  EXPECT_LT(bytesToGather(stored, handOn), once + kSpare);
}

TEST_F(PayloadCopies, ATreeThatTheResolverGivesAwayIsNotCopied) {
  SwAny own = payloadTree();
  const auto giveAway = [&own](uint64_t, const SwAny&) { return std::move(own); };
  EXPECT_LT(bytesToGather(SwAny(1), giveAway), kSpare);
}

TEST_F(PayloadCopies, ATextIsParsedWhereTheResolverLeftIt) {
  const SwAny stored = payloadText();
  const long once = bytesOf([&] { const SwAny copy = stored; });
  const long parsed = bytesOf([&] {
    SwJsonDocument document;
    SwString error;
    document.loadFromJson(stored.get<SwString>(), error);
  });
  EXPECT_LT(bytesToGather(stored, handOn), once + parsed + kSpare);
}

/// A producer's own type, as a host registers it.
struct Tracks {};

TEST_F(PayloadCopies, AConvertedTreeIsTheOneThatTheConversionMade) {
  SwAny::registerMetaType<Tracks>();
  SwAny::registerConversion<Tracks, SwJsonObject>([](const Tracks&) { return payloadTree(); });
  const long made = bytesOf([] { payloadTree(); });
  EXPECT_LT(bytesToGather(SwAny::from(Tracks()), handOn), made + kSpare);
}

}  // namespace
}  // namespace seg_mask
