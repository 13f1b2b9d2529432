#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "test_support/scene.h"

/// Frames that have the same bytes on every machine, compiler and device. golden_frame_digests.txt holds a
/// digest of each, made by the model; the plug-in is compared with it in every build.
namespace frame_digests {

struct NamedScene {
  std::string name;
  scene::Scene scene;
};

/// Small random scenes, and frames wide enough for whatever loops a machine has for many pixels at once.
std::vector<NamedScene> scenes();

/// FNV-1a with 64 bits, as 16 hexadecimal digits.
std::string digest(const std::vector<uint8_t>& bytes);

/// What the file holds for a scene whose frame looks like that when drawn.
std::string line(const NamedScene& scene, const std::vector<uint8_t>& drawn);

/// The file's lines, in the order of scenes().
std::vector<std::string> committedLines();

}  // namespace frame_digests
