// What the element makes of a buffer. The expected frames are those of `segmask render`.

#include <gst/video/gstvideometa.h>
#include <gtest/gtest.h>

#include <string>

#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/ElementHarness.h"

namespace {

using segmask::Nv12Layout;

/// Frames 0 and 2 of kOdd have detections, of two classes.
const std::string kLines =
    R"({"frame": 0, "producer": "p", "detections": [
  {"x": 2, "y": 1, "w": 12, "h": 9, "class_id": 3, "score": 1, "class_info": "SEG1|4|2|Dw=="},
  {"x": 0, "y": 0, "w": 21, "h": 13, "class_id": 7, "score": 0.5, "class_info": "SEG1|2|2|CQ=="}]})";
const std::string kPlace =
    "{\"frame\": 2, \"producer\": \"q\", \"detections\": [{\"x\": 1, \"y\": 1, \"w\": 9, "
    "\"h\": 5, \"class_id\": 1, \"score\": 1, \"class_info\": \"SEG1|1|1|AQ==\"}]}\n";

std::string oneLineEach() {
  std::string text;
  for (const char byte : kLines) text += byte == '\n' ? ' ' : byte;
  return text + "\n" + kPlace;
}

class Element : public ::testing::Test {
 protected:
  std::string noise(int count) const { return noiseFrames(kOdd.width, kOdd.height, count); }

  TempFolder folder_;
  const std::string file_ = folder_.write("d.jsonl", oneLineEach());
  const std::string location_ = "location=" + file_;
};

TEST_F(Element, DrawsTheBytesOfSegmaskRender) {
  ElementHarness harness(location_);
  harness.setFormat(kOdd);
  const std::string frames = noise(3);
  const std::string drawn = harness.drawn(frames, {0, 1, 2});
  EXPECT_NE(drawn, frames);
  EXPECT_EQ(drawn, renderedByTool(frames, kOdd, file_));
  EXPECT_EQ(harness.get<guint64>("frames-drawn"), 2U);
  EXPECT_EQ(harness.get<guint64>("detections-seen"), 3U);
}

TEST_F(Element, TheSettingsAreThoseOfTheTool) {
  ElementHarness harness(location_ + R"( lookback=1 config="{\"alpha\": 0.9, \"min_score\": 0.6}")");
  harness.setFormat(kOdd);
  const std::string frames = noise(4);
  EXPECT_EQ(
      harness.drawn(frames, {0, 1, 2, 3}),
      renderedByTool(frames, kOdd, file_, R"(--lookback 1 --config '{"alpha": 0.9, "min_score": 0.6}')"));
}

TEST_F(Element, RowsMayLieAnywhereInTheBufferAndNothingBesideThemChanges) {
  ElementHarness harness(location_);
  harness.setFormat(kOdd);
  const std::string frame = noise(1);
  const Padding padding{7, 5};
  BufferPtr in = harness.buffer(frame, padding);
  GST_BUFFER_PTS(in.get()) = 0;
  ASSERT_EQ(harness.push(std::move(in)), GST_FLOW_OK);
  const BufferPtr out = harness.pull();
  const std::string drawn = harness.packed(out.get());
  EXPECT_EQ(drawn, renderedByTool(frame, kOdd, file_));
  // The whole memory is that of a buffer that has the drawn frame with the same padding.
  const BufferPtr expected = harness.buffer(drawn, padding);
  const gsize bytes = gst_buffer_get_size(expected.get());
  std::string whole(bytes, '\0');
  gst_buffer_extract(expected.get(), 0, whole.data(), bytes);
  ASSERT_EQ(gst_buffer_get_size(out.get()), bytes);
  EXPECT_EQ(gst_buffer_memcmp(out.get(), 0, whole.data(), bytes), 0);
}

TEST_F(Element, ABufferOfItsOwnIsDrawnOnInPlace) {
  ElementHarness harness(location_);
  harness.setFormat(kOdd);
  BufferPtr in = harness.frame(0, noise(1));
  const GstMemory* const memory = gst_buffer_peek_memory(in.get(), 0);
  ASSERT_EQ(harness.push(std::move(in)), GST_FLOW_OK);
  EXPECT_EQ(gst_buffer_peek_memory(harness.pull().get(), 0), memory);
}

TEST_F(Element, ABufferThatOthersHoldIsCopied) {
  ElementHarness harness(location_);
  harness.setFormat(kOdd);
  const std::string frame = noise(1);
  BufferPtr in = harness.frame(0, frame);
  const BufferPtr held(gst_buffer_ref(in.get()));
  ASSERT_EQ(harness.push(std::move(in)), GST_FLOW_OK);
  EXPECT_EQ(harness.packed(harness.pull().get()), renderedByTool(frame, kOdd, file_));
  EXPECT_EQ(harness.packed(held.get()), frame);
}

TEST_F(Element, RegionsOfTheBufferAreDrawnLikeLinesOfAFile) {
  ElementHarness harness;
  harness.setFormat(kOdd);
  const std::string frame = noise(1);
  BufferPtr in = harness.frame(5, frame);
  GstVideoRegionOfInterestMeta* const region =
      gst_buffer_add_video_region_of_interest_meta(in.get(), "person", 1, 1, 9, 5);
  gst_video_region_of_interest_meta_add_param(
      region, gst_structure_new("detection", "class-id", G_TYPE_INT, 1, "score", G_TYPE_DOUBLE, 1.0, "mask",
                                G_TYPE_STRING, "SEG1|1|1|AQ==", nullptr));
  ASSERT_EQ(harness.push(std::move(in)), GST_FLOW_OK);
  const BufferPtr out = harness.pull();
  const std::string line = folder_.write("r.jsonl", "{\"frame\": 0" + kPlace.substr(kPlace.find(',')));
  const std::string expected = renderedByTool(frame, kOdd, line);
  EXPECT_NE(expected, frame);
  EXPECT_EQ(harness.packed(out.get()), expected);
  EXPECT_EQ(harness.get<guint64>("detections-seen"), 1U);
}

TEST_F(Element, AConfigurationCountsFromTheNextFrameOn) {
  const std::string file = folder_.write("all.jsonl", fullMaskLine(0, "p") + fullMaskLine(1, "p"));
  ElementHarness harness("location=" + file + R"( config="{\"alpha\": 0.2}")");
  harness.setFormat(kOdd);
  const std::string frame = noise(1);
  const std::string first = harness.drawn(frame, {0});
  EXPECT_EQ(first, renderedByTool(frame, kOdd, file, R"(--config '{"alpha": 0.2}')"));
  harness.set(R"(config={"alpha": 0.7})");
  EXPECT_EQ(harness.drawn(frame, {1}), renderedByTool(frame, kOdd, file, R"(--config '{"alpha": 0.7}')"));
  EXPECT_EQ(harness.message(GST_MESSAGE_WARNING), "");
}

TEST_F(Element, AConfigurationThatIsNoneWhilePlayingIsAWarningAndTheLastOneStays) {
  const std::string file = folder_.write("all.jsonl", fullMaskLine(0, "p") + fullMaskLine(1, "p"));
  ElementHarness harness("location=" + file + R"( config="{\"alpha\": 0.2}")");
  harness.setFormat(kOdd);
  const std::string frame = noise(1);
  const std::string first = harness.drawn(frame, {0});
  harness.set("config=alpha");
  EXPECT_EQ(harness.drawn(frame, {1}), first);
  EXPECT_EQ(
      harness.message(GST_MESSAGE_WARNING),
      "config: not a JSON object (it takes the object itself, like {\"alpha\": 0.5}); the last one still "
      "counts");
}

TEST_F(Element, WhatThePluginPassesOverInAConfigurationIsAWarning) {
  ElementHarness harness(location_);
  harness.setFormat(kOdd);
  harness.set(R"(config={"alhpa": 0.9})");
  harness.drawn(noise(1), {0});
  EXPECT_EQ(harness.message(GST_MESSAGE_WARNING),
            "config: the plug-in has no \"alhpa\"; did you mean \"alpha\"?");
  harness.set(R"(config={"alhpa": 0.8})");
  harness.drawn(noise(1), {1});
  EXPECT_EQ(harness.message(GST_MESSAGE_WARNING), "") << "said before";
}

TEST_F(Element, AMaskOfABufferThatIsNoneIsAWarningOnceAndTheFrameGoesOn) {
  ElementHarness harness;
  harness.setFormat(kOdd);
  const std::string frame = noise(1);
  for (const uint64_t number : {0U, 1U}) {
    BufferPtr in = harness.frame(number, frame);
    gst_video_region_of_interest_meta_add_param(
        gst_buffer_add_video_region_of_interest_meta(in.get(), "person", 1, 1, 9, 5),
        gst_structure_new("detection", "mask", G_TYPE_STRING, "{}", nullptr));
    EXPECT_EQ(harness.push(std::move(in)), GST_FLOW_OK);
    EXPECT_EQ(harness.packed(harness.pull().get()), frame);
  }
  EXPECT_EQ(harness.message(GST_MESSAGE_WARNING).rfind("A detection of a buffer is left out: ", 0), 0U);
  EXPECT_EQ(harness.message(GST_MESSAGE_WARNING), "");
}

}  // namespace
