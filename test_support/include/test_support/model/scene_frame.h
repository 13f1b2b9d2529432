#pragma once

#include <cstdint>
#include <vector>

#include "test_support/model/producers.h"
#include "test_support/scene.h"

namespace model {

/// A scene's reports and inputs as records, and what comes of them. The scene must outlive it.
class SceneRecords {
 public:
  explicit SceneRecords(const scene::Scene& scene);
  SceneRecords(const SceneRecords&) = delete;
  SceneRecords& operator=(const SceneRecords&) = delete;

  const Producers& producers() const { return producers_; }

  /// Which of the scene's inputs a record stands for.
  const scene::Input& inputOf(const RenderInput& record) const;

 private:
  const scene::Scene& scene_;
  std::vector<RenderInput> inputs_;
  Producers producers_;
};

/// What a pass gathers from the scene.
Gathering gather(const scene::Scene& scene);

/// The scene's frame with these detections drawn, scores aside, and no others.
std::vector<uint8_t> frameWith(const scene::Scene& scene, const std::vector<scene::Detection>& detections);

/// The scene's frame after a pass.
std::vector<uint8_t> expectedFrame(const scene::Scene& scene);

}  // namespace model
