#pragma once

#include <opencv2/core.hpp>
#include <vector>

namespace motion_producer {

/// One box of a frame with what tracking knows about it.
struct TrackedBox {
  int track;      ///< the same number as long as the box is the same thing's; counts from 0
  int sightings;  ///< in how many frames it was seen so far, this one included
};

/// Follows boxes from frame to frame, so that whoever crosses the picture keeps one number. Matches each box
/// to the track whose expected place it overlaps best; a track that is not seen for a while is forgotten.
class BoxTracker {
 public:
  /// What the boxes of the next frame are, in their order.
  std::vector<TrackedBox> update(const std::vector<cv::Rect>& boxes);

 private:
  struct Track {
    int number;
    cv::Rect2f box;        ///< where it was seen last
    cv::Point2f velocity;  ///< pixels a frame, smoothed
    int sightings;
    int missed;  ///< frames since it was seen
  };

  void follow(Track& track, const cv::Rect2f& box);

  std::vector<Track> tracks_;
  int nextNumber_ = 0;
};

}  // namespace motion_producer
