#include "src/BoxTracker.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace motion_producer {
namespace {

constexpr int kForgetAfter = 10;  // frames: one second of a slow camera
constexpr float kMinOverlap =
    0.1F;  // of intersection to union; boxes of walking people change their shape a lot
constexpr float kVelocityWeight = 0.3F;  // of the newest step

constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

struct Pair {
  float overlap;
  std::size_t track;
  std::size_t box;
};

float overlapOf(const cv::Rect2f& a, const cv::Rect2f& b) {
  const float both = (a & b).area();
  return both > 0 ? both / (a.area() + b.area() - both) : 0.0F;
}

cv::Point2f centre(const cv::Rect2f& box) {
  return (box.tl() + box.br()) * 0.5F;
}

}  // namespace

std::vector<TrackedBox> BoxTracker::update(const std::vector<cv::Rect>& boxes) {
  std::vector<Pair> pairs;
  for (std::size_t t = 0; t < tracks_.size(); ++t) {
    const Track& track = tracks_[t];
    const cv::Rect2f expected = track.box + track.velocity * static_cast<float>(track.missed + 1);
    for (std::size_t b = 0; b < boxes.size(); ++b) {
      const float overlap = overlapOf(expected, cv::Rect2f(boxes[b]));
      if (overlap >= kMinOverlap) pairs.push_back({overlap, t, b});
    }
  }
  std::stable_sort(pairs.begin(), pairs.end(),
                   [](const Pair& a, const Pair& b) { return a.overlap > b.overlap; });

  std::vector<std::size_t> trackOf(boxes.size(), kNone);
  std::vector<bool> seen(tracks_.size(), false);
  for (const Pair& pair : pairs) {
    if (trackOf[pair.box] != kNone || seen[pair.track]) continue;
    trackOf[pair.box] = pair.track;
    seen[pair.track] = true;
  }

  for (Track& track : tracks_) ++track.missed;
  std::vector<TrackedBox> tracked;
  for (std::size_t b = 0; b < boxes.size(); ++b) {
    if (trackOf[b] == kNone) {
      trackOf[b] = tracks_.size();
      tracks_.push_back({nextNumber_++, cv::Rect2f(boxes[b]), {0, 0}, 0, 1});
    }
    Track& track = tracks_[trackOf[b]];
    follow(track, cv::Rect2f(boxes[b]));
    tracked.push_back({track.number, track.sightings});
  }
  tracks_.erase(
      std::remove_if(tracks_.begin(), tracks_.end(), [](const Track& t) { return t.missed > kForgetAfter; }),
      tracks_.end());
  return tracked;
}

void BoxTracker::follow(Track& track, const cv::Rect2f& box) {
  const cv::Point2f step = (centre(box) - centre(track.box)) / static_cast<float>(track.missed);
  track.velocity += (step - track.velocity) * kVelocityWeight;
  track.box = box;
  track.missed = 0;
  ++track.sightings;
}

}  // namespace motion_producer
