#include <core/SwJsonArray.h>
#include <core/SwJsonDocument.h>
#include <core/SwJsonObject.h>
#include <core/SwString.h>
#include <gtest/gtest.h>

#include "src/BoxTracker.h"
#include "src/MotionDetector.h"
#include "src/detection_line.h"

namespace motion_producer {
namespace {

TEST(BoxTracker, AMovingBoxKeepsItsNumberAndANewOneGetsItsOwn) {
  BoxTracker tracker;
  for (int frame = 0; frame < 20; ++frame) {
    std::vector<cv::Rect> boxes = {{10 + frame * 5, 20, 20, 50}};
    if (frame >= 10) boxes.insert(boxes.begin(), cv::Rect(300, 20, 20, 50));
    const std::vector<TrackedBox> tracked = tracker.update(boxes);
    ASSERT_EQ(tracked.back().track, 0);
    ASSERT_EQ(tracked.back().sightings, frame + 1);
    if (frame >= 10) {
      ASSERT_EQ(tracked.front().track, 1);
    }
  }
}

TEST(BoxTracker, ATrackThatWasHiddenForAMomentIsFoundAgainWhereItShouldBe) {
  BoxTracker tracker;
  for (int frame = 0; frame < 12; ++frame) tracker.update({{frame * 6, 20, 20, 50}});
  for (int frame = 0; frame < 4; ++frame) tracker.update({});
  EXPECT_EQ(tracker.update({{16 * 6, 20, 20, 50}}).front().track, 0);
}

TEST(BoxTracker, ATrackThatIsGoneIsForgotten) {
  BoxTracker tracker;
  tracker.update({{10, 20, 20, 50}});
  for (int frame = 0; frame < 11; ++frame) tracker.update({});
  EXPECT_EQ(tracker.update({{10, 20, 20, 50}}).front().track, 1);
}

TEST(BoxTracker, TwoBoxesNeverShareANumber) {
  BoxTracker tracker;
  tracker.update({{10, 20, 20, 50}});
  const std::vector<TrackedBox> tracked = tracker.update({{8, 20, 20, 50}, {11, 20, 20, 50}});
  EXPECT_EQ(tracked[1].track, 0);  // overlaps better
  EXPECT_EQ(tracked[0].track, 1);
}

TEST(MotionDetector, FindsAMovingBlockAndNothingInAStillPicture) {
  cv::setNumThreads(1);  // the thread sanitizer cannot see how OpenCV's own pool synchronises
  MotionDetector detector({160, 120}, 50);
  cv::Mat still(120, 160, CV_8UC1);
  cv::randu(still, 90, 110);
  for (int i = 0; i < 40; ++i) detector.learn(still);
  EXPECT_TRUE(detector.detect(still).empty());

  cv::Mat moved = still.clone();
  const cv::Rect block(60, 40, 20, 40);
  moved(block).setTo(220);
  const std::vector<Silhouette> found = detector.detect(moved);
  ASSERT_EQ(found.size(), 1U);
  const cv::Rect both = found[0].box & block;
  EXPECT_GE(both.area(), 0.9 * block.area());
  EXPECT_LE(found[0].box.area(), 1.3 * block.area());
  EXPECT_EQ(found[0].mask.size(), found[0].box.size());
}

TEST(DetectionLine, HoldsFrameProducerAndOneRecordASilhouette) {
  const Silhouette silhouette{{2, 0, 2, 4}, cv::Mat(4, 2, CV_8UC1, cv::Scalar(255))};
  const std::string line = detectionLine(17, {silhouette}, {{3, 4}}, {4, 4}, {2, 2}, MaskForm::Text);
  EXPECT_EQ(line.back(), '\n');
  EXPECT_EQ(line.find('\n'), line.size() - 1);
  SwJsonDocument document;
  SwString error;
  ASSERT_TRUE(document.loadFromJson(line, error)) << error.str();
  const SwJsonObject object = document.object();
  EXPECT_EQ(object["frame"].integer(), 17);
  EXPECT_EQ(object["producer"].text(), "motion");
  ASSERT_EQ(object["detections"].array()->size(), 1U);
  const SwJsonObject& detection = *(*object["detections"].array())[0].object();
  EXPECT_EQ(detection["x"].integer(), 2);
  EXPECT_EQ(detection["y"].integer(), 0);
  EXPECT_EQ(detection["w"].integer(), 2);
  EXPECT_EQ(detection["h"].integer(), 4);
  EXPECT_EQ(detection["class_id"].integer(), 3);
  EXPECT_EQ(detection["score"].number(), 0.8);
  EXPECT_EQ(detection["class_info"].text(), "SEG1|2|2|Cg==");  // the right column: bits 1 and 3
}

TEST(DetectionLine, MayHaveTheMaskAsRunLengths) {
  const Silhouette silhouette{{2, 0, 2, 4}, cv::Mat(4, 2, CV_8UC1, cv::Scalar(255))};
  const std::string line = detectionLine(17, {silhouette}, {{3, 4}}, {4, 4}, {2, 2}, MaskForm::RunLengths);
  SwJsonDocument document;
  SwString error;
  ASSERT_TRUE(document.loadFromJson(line, error)) << error.str();
  const SwJsonObject& detection = *(*document.root().object()->find("detections")->array())[0].object();
  EXPECT_FALSE(detection.contains("class_info"));
  const SwJsonObject& mask = *detection["mask"].object();
  EXPECT_EQ((*mask["size"].array())[0].integer(), 2);
  EXPECT_EQ((*mask["size"].array())[1].integer(), 2);
  EXPECT_EQ(mask["counts"].text(), "22");  // the right column
}

}  // namespace
}  // namespace motion_producer
