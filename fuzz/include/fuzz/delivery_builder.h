#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/SwAny.h"
#include "fuzz/FuzzInput.h"
#include "render_base/RenderContext.h"
#include "test_support/model/payload.h"
#include "test_support/model/producers.h"
#include "test_support/scene.h"

namespace fuzz {

/// What a host's resolver throws here.
struct ResolverError {};

/// What reading an input comes to.
enum class Outcome {
  delivers,        ///< its detections, if any
  resolverThrows,  ///< ResolverError
  outOfMemory      ///< std::bad_alloc, from the payload's conversion
};

/// The inputs of a frame with payloads of every form: objects, texts, types of the host's own, nothing; some
/// that the resolver opens or throws at, some whose conversion throws or gives what it should not. Beside
/// them, what the rules make of each.
class Deliveries {
 public:
  /// Builds up to `most` inputs. Their keys are short, so that some agree; a few have none.
  Deliveries(FuzzInput& input, unsigned most);
  Deliveries(const Deliveries&) = delete;
  Deliveries& operator=(const Deliveries&) = delete;

  /// As a context holds them.
  const std::unordered_map<std::string, std::vector<RenderInput>>& byType() const { return byType_; }
  const std::vector<RenderInput>& inputs() const { return byType_.at("detection.v1"); }

  /// Gives the context, which must not outlive this object, the resolver that opens these payloads.
  void resolveFor(RenderContext& ctx);

  /// The frame number of each call of the resolver so far.
  const std::vector<std::uint64_t>& resolved() const { return resolved_; }

  /// What the resolver is called for as the model goes through the inputs, and what it gives: for
  /// model::gather. Throws what reading the input throws.
  std::vector<scene::Detection> deliver(const RenderInput& input, const RenderContext& ctx,
                                        std::vector<std::uint64_t>& asked) const;

 private:
  struct Expected {
    Outcome outcome = Outcome::delivers;
    std::vector<scene::Detection> detections;
  };

  SwAny buildPayload(FuzzInput& input, Expected& expected);

  std::unordered_map<std::string, std::vector<RenderInput>> byType_;
  std::vector<Expected> expected_;  // of each input
  std::vector<std::uint64_t> resolved_;
  RenderPayloadResolver resolver_;
};

/// A key of a producer: none, "a" to "d", or seldom another.
std::string buildKey(FuzzInput& input);

}  // namespace fuzz
