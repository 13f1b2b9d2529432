// Writes what tests/golden_frame_digests.txt has to hold: digests of the model's frames, not of the
// plug-in's.

#include <cstdio>

#include "test_support/frame_digests.h"
#include "test_support/model/scene_frame.h"

int main() {
  for (const frame_digests::NamedScene& scene : frame_digests::scenes()) {
    std::puts(frame_digests::line(scene, model::expectedFrame(scene.scene)).c_str());
  }
}
