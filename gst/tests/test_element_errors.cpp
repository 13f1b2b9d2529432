// What the element says when it cannot go on: an element error, one for each cause, with what to do.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "host/PluginHost.h"
#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/ElementHarness.h"

namespace fs = std::filesystem;

namespace {

/// The error with which an element of these properties refuses to start.
std::string refusal(const std::string& properties) {
  startGStreamer();
  GstElement* const element = gst_parse_launch(("segmaskoverlay " + properties).c_str(), nullptr);
  gst_object_ref_sink(element);
  const BusPtr bus(gst_bus_new());
  gst_element_set_bus(element, bus.get());
  std::string text;
  if (gst_element_set_state(element, GST_STATE_PAUSED) == GST_STATE_CHANGE_FAILURE) {
    text = nextMessage(bus.get(), GST_MESSAGE_ERROR);
  }
  gst_element_set_state(element, GST_STATE_NULL);
  gst_object_unref(element);
  return text;
}

TEST(ElementErrors, ADetectionsFileThatIsNotThere) {
  EXPECT_EQ(refusal("location=/nowhere/d.jsonl"), "/nowhere/d.jsonl: No such file or directory");
}

TEST(ElementErrors, APluginThatIsNotThereOrIsNone) {
  EXPECT_EQ(refusal("plugin=/nowhere/p.so"), "/nowhere/p.so: No such file or directory");
  const TempFolder folder;
  const std::string file = folder.write("p.so", "no library");
  EXPECT_EQ(refusal("plugin=" + file).rfind(file + ": the plug-in does not load: ", 0), 0U);
}

TEST(ElementErrors, AConfigurationThatIsNoJsonObject) {
  EXPECT_EQ(refusal(std::string(drawsFast() ? "fast=true" : "") + " config=[1]"),
            "config: not a JSON object (it takes the object itself, like {\"alpha\": 0.5})");
}

TEST(ElementErrors, TheOtherOfTheTwoPluginFilesNamesBoth) {
  const ElementHarness first;
  const std::string used = drawsFast() ? segmask::kFastPluginFile : segmask::kPluginFile;
  const std::string other = drawsFast() ? segmask::kPluginFile : segmask::kFastPluginFile;
  EXPECT_EQ(refusal(drawsFast() ? "fast=false" : "fast=true"),
            "this process already draws with " + used + ", and a process can use one of the two: " + other +
                " would need another process");
  EXPECT_EQ(refusal(drawsFast() ? "fast=true" : "fast=false"), "");
}

TEST(ElementErrors, AnotherPluginMayBeBesideThem) {
  const ElementHarness first;
  const std::string box = (fs::path(GST_SEGMASK_FILE).parent_path() / "libbox_plugin.so").string();
  EXPECT_EQ(refusal("plugin=" + box), "");
}

TEST(ElementErrors, ALineOfTheFileEndsTheStreamWithItsPlace) {
  const TempFolder folder;
  const std::string file =
      folder.write("d.jsonl", fullMaskLine(0, "p") + "{\"frame\": 1}\n" + fullMaskLine(2, "p"));
  ElementHarness harness("location=" + file);
  harness.setFormat(kOdd);
  const std::string frame = noiseFrames(kOdd.width, kOdd.height, 1);
  EXPECT_EQ(harness.push(harness.frame(0, frame)), GST_FLOW_ERROR);
  EXPECT_EQ(harness.message(GST_MESSAGE_ERROR), file + ":2: no \"producer\"");
}

TEST(ElementErrors, AMaskOfTheFileEndsTheStreamWithItsPlace) {
  const TempFolder folder;
  const std::string file = folder.write(
      "d.jsonl", R"({"frame": 1, "producer": "p", "detections": [{"mask": {"polygon": []}}, {"mask": {}}]})");
  ElementHarness harness("location=" + file);
  harness.setFormat(kOdd);
  const std::string frame = noiseFrames(kOdd.width, kOdd.height, 1);
  EXPECT_EQ(harness.push(harness.frame(0, frame)), GST_FLOW_OK);
  EXPECT_EQ(harness.push(harness.frame(1, frame)), GST_FLOW_ERROR);
  EXPECT_EQ(harness.message(GST_MESSAGE_ERROR).rfind(file + ":1: detections[", 0), 0U);
}

// Sides whose product is beyond 32 bits of bytes.
TEST(ElementErrors, FramesThatAreTooLargeAreRefusedWithTheirCaps) {
  ElementHarness harness;
  gst_harness_set_src_caps_str(harness.get(),
                               "video/x-raw,format=NV12,width=100000,height=100000,framerate=30/1");
  EXPECT_EQ(harness.push(BufferPtr(gst_buffer_new_allocate(nullptr, 16, nullptr))), GST_FLOW_NOT_NEGOTIATED);
}

}  // namespace
