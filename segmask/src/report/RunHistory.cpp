#include "src/report/RunHistory.h"

#include <algorithm>
#include <numeric>

namespace segmask {
namespace {

void addTo(RunCounts& sum, const RunCounts& more) {
  for (std::size_t i = 0; i < kOutcomes; ++i) sum.detections[i] += more.detections[i];
  sum.lookedBack += more.lookedBack;
}

/// Makes `span` go on to the end of `next`, which follows it.
void append(RunHistory::Span& span, const RunHistory::Span& next) {
  span.last = next.last;
  span.frames += next.frames;
  span.framesDrawn += next.framesDrawn;
  addTo(span.counts, next.counts);
  span.renderMs += next.renderMs;
  span.slowestMs = std::max(span.slowestMs, next.slowestMs);
}

}  // namespace

uint64_t RunCounts::dropped() const {
  return std::accumulate(detections.begin(), detections.end(), uint64_t{0}) - drawn();
}

RunCounts RunCounts::since(const RunCounts& earlier) const {
  RunCounts difference = *this;
  for (std::size_t i = 0; i < kOutcomes; ++i) difference.detections[i] -= earlier.detections[i];
  difference.lookedBack -= earlier.lookedBack;
  return difference;
}

RunCounts RunHistory::add(const Frame& frame, const RunCounts& soFar) {
  const RunCounts counts = soFar.since(soFar_);
  soFar_ = soFar;
  const Span span{frame.number,   frame.number,  1, frame.seconds, frame.drawn ? 1U : 0U, counts,
                  frame.renderMs, frame.renderMs};
  const bool isFull = spans_.empty() || spans_.back().frames == framesPerSpan_;
  if (isFull && spans_.size() == kMostSpans) halve();
  if (!spans_.empty() && spans_.back().frames < framesPerSpan_) {
    append(spans_.back(), span);
  } else {
    spans_.push_back(span);
  }
  return counts;
}

void RunHistory::halve() {
  for (std::size_t i = 0; 2 * i < spans_.size(); ++i) {
    spans_[i] = spans_[2 * i];
    append(spans_[i], spans_[2 * i + 1]);
  }
  spans_.resize(spans_.size() / 2);
  framesPerSpan_ *= 2;
}

}  // namespace segmask
