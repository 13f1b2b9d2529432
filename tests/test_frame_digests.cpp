// The same bytes on every machine: 64-bit Arm and x86-64, CPU and GPU. What the model draws is compared too,
// because a model that a machine reads differently would hide what the plug-in does.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_support/frame_digests.h"
#include "test_support/model/scene_frame.h"
#include "test_support/plugin_harness.h"

namespace {

const char kRenew[] = "if the scenes changed: print_frame_digests > tests/golden_frame_digests.txt";

class FrameDigests : public plugin_test::PluginTest {};

std::vector<uint8_t> bytes(const std::string& text) {
  return {text.begin(), text.end()};
}

TEST(FrameDigest, IsFnv1aWith64Bits) {
  // The published test vectors.
  EXPECT_EQ(frame_digests::digest(bytes("")), "cbf29ce484222325");
  EXPECT_EQ(frame_digests::digest(bytes("a")), "af63dc4c8601ec8c");
  EXPECT_EQ(frame_digests::digest(bytes("foobar")), "85944171f73967e8");
}

TEST(FrameDigest, TheModelDrawsTheCommittedFrames) {
  const std::vector<std::string> committed = frame_digests::committedLines();
  const std::vector<frame_digests::NamedScene> scenes = frame_digests::scenes();
  ASSERT_EQ(committed.size(), scenes.size()) << kRenew;
  for (std::size_t i = 0; i < scenes.size(); ++i) {
    ASSERT_EQ(frame_digests::line(scenes[i], model::expectedFrame(scenes[i].scene)), committed[i]) << kRenew;
  }
}

TEST_F(FrameDigests, ThePlugInDrawsTheCommittedFrames) {
  const std::vector<std::string> committed = frame_digests::committedLines();
  const std::vector<frame_digests::NamedScene> scenes = frame_digests::scenes();
  ASSERT_EQ(committed.size(), scenes.size()) << kRenew;
  for (std::size_t i = 0; i < scenes.size(); ++i) {
    ASSERT_EQ(frame_digests::line(scenes[i], host().drawn(scenes[i].scene)), committed[i]) << scenes[i].scene;
  }
}

}  // namespace
