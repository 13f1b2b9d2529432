// Whole pipelines.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "tests/ElementHarness.h"

namespace {

using segmask::Nv12Layout;

constexpr Nv12Layout kLayout{64, 48};
constexpr int kFrames = 5;

/// Runs a pipeline to its end; the text of its error, empty when there was none.
std::string run(const std::string& text) {
  startGStreamer();
  GstElement* const pipeline = gst_parse_launch(text.c_str(), nullptr);
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  GstBus* const bus = gst_element_get_bus(pipeline);
  GstMessage* const message = gst_bus_timed_pop_filtered(
      bus, GST_CLOCK_TIME_NONE, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
  std::string said;
  if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
    GError* error = nullptr;
    gst_message_parse_error(message, &error, nullptr);
    said = error->message;
    g_error_free(error);
  }
  gst_message_unref(message);
  gst_object_unref(bus);
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(pipeline);
  return said;
}

class Pipelines : public ::testing::Test {
 protected:
  std::string read(const std::string& file) const {
    return "filesrc location=" + file + " ! rawvideoparse format=nv12 width=64 height=48 framerate=30/1 ! ";
  }
  std::string overlay(const std::string& file) const {
    return std::string("segmaskoverlay ") + (drawsFast() ? "fast=true " : "") + "location=" + file + " ! ";
  }
  std::string write() const { return "filesink location=" + output_; }

  TempFolder folder_;
  const std::string frames_ = noiseFrames(kLayout.width, kLayout.height, kFrames);
  const std::string input_ = folder_.write("in.nv12", frames_);
  const std::string output_ = folder_.path("out.nv12");
  const std::string first_ = folder_.write("1.jsonl", fullMaskLine(1, "p") + fullMaskLine(3, "p"));
  const std::string second_ = folder_.write("2.jsonl", fullMaskLine(3, "q") + fullMaskLine(4, "q"));
};

TEST_F(Pipelines, FromFileToFileTheBytesAreThoseOfSegmaskRender) {
  EXPECT_EQ(run(read(input_) + overlay(first_) + write()), "");
  EXPECT_EQ(readFile(output_), renderedByTool(frames_, kLayout, first_));
}

TEST_F(Pipelines, SeveralElementsDrawOneAfterTheOther) {
  EXPECT_EQ(run(read(input_) + overlay(first_) + overlay(second_) + write()), "");
  EXPECT_EQ(readFile(output_), renderedByTool(renderedByTool(frames_, kLayout, first_), kLayout, second_));
}

// Each branch of a tee has the same buffers, so both have to be copied before they are drawn on.
TEST_F(Pipelines, BranchesOfATeeDoNotSeeEachOthersDrawing) {
  const std::string other = folder_.path("other.nv12");
  EXPECT_EQ(run(read(input_) + "tee name=t ! queue ! " + overlay(first_) + write() + " t. ! queue ! " +
                overlay(second_) + "filesink location=" + other),
            "");
  EXPECT_EQ(readFile(output_), renderedByTool(frames_, kLayout, first_));
  EXPECT_EQ(readFile(other), renderedByTool(frames_, kLayout, second_));
}

TEST_F(Pipelines, AnErrorOfTheFileEndsThePipelineWithItsPlace) {
  const std::string file = folder_.write("bad.jsonl", fullMaskLine(0, "p") + "nonsense\n");
  EXPECT_EQ(run(read(input_) + overlay(file) + write()).rfind(file + ":2: not JSON: ", 0), 0U);
}

TEST_F(Pipelines, ATestSourceOfOtherFormatsIsNotNegotiated) {
  EXPECT_NE(run("videotestsrc num-buffers=1 ! video/x-raw,format=I420 ! " + overlay(first_) + write()), "");
}

}  // namespace
