#include "test_support/frame_digests.h"

#include <cstdio>
#include <fstream>

#include "test_support/random_scene.h"

namespace frame_digests {
namespace {

constexpr unsigned kRandomScenes = 400;

// Every class over the whole frame and shifted, through masks of many sizes, on neighbours that all differ.
scene::Scene wideScene(int width, int height, float alpha) {
  std::vector<scene::Detection> detections;
  for (int32_t class_id = 0; class_id < 20; ++class_id) {
    scene::Detection detection = scene::coverAll(width, height, class_id);
    detection.x = 7 * class_id;
    detection.y = 5 * class_id - 20;
    detection.mask = scene::chessMask(10 + 13 * class_id, 9 + 4 * class_id);
    detections.push_back(detection);
  }
  scene::Scene scene = scene::oneProducer(width, height, std::move(detections));
  scene.settings.alpha = alpha;
  return scene;
}

}  // namespace

std::vector<NamedScene> scenes() {
  std::vector<NamedScene> scenes;
  for (unsigned seed = 1; seed <= kRandomScenes; ++seed) {
    scenes.push_back({"random " + std::to_string(seed), scene::randomScene(seed)});
  }
  scenes.push_back({"wide even", wideScene(320, 180, 0.45F)});
  scenes.push_back({"wide odd", wideScene(321, 179, 0.3333333F)});
  return scenes;
}

std::string digest(const std::vector<uint8_t>& bytes) {
  uint64_t hash = UINT64_C(0xcbf29ce484222325);
  for (const uint8_t byte : bytes) hash = (hash ^ byte) * UINT64_C(0x100000001b3);
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
  return text;
}

std::string line(const NamedScene& scene, const std::vector<uint8_t>& drawn) {
  return scene.name + " " + digest(drawn);
}

std::vector<std::string> committedLines() {
  std::ifstream file(GOLDEN_FRAME_DIGESTS);
  std::vector<std::string> lines;
  for (std::string read; std::getline(file, read);) lines.push_back(read);
  return lines;
}

}  // namespace frame_digests
