#pragma once

#include <opencv2/core.hpp>
#include <vector>

namespace motion_producer {

/// One box of a frame with the results of tracking.
struct TrackedBox {
  int track;      ///< number of the object that the box belongs to, from 0
  int sightings;  ///< in how many frames it was seen so far, this one included
};

/// Follows boxes from frame to frame, so that a moving object keeps one number. Each box is matched to the
/// track whose predicted box it overlaps most; a track without a match for a while is dropped.
class BoxTracker {
 public:
  /// Matches the boxes of the next frame to tracks. Returns one entry per box, in their order.
  std::vector<TrackedBox> update(const std::vector<cv::Rect>& boxes);

 private:
  struct Track {
    int number;
    cv::Rect2f box;        ///< the last match
    cv::Point2f velocity;  ///< pixels a frame, smoothed
    int sightings;
    int missed;  ///< frames since the last match
  };

  void follow(Track& track, const cv::Rect2f& box);

  std::vector<Track> tracks_;
  int nextNumber_ = 0;
};

}  // namespace motion_producer
