#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "host/FramePipeline.h"
#include "host/FrameRenderer.h"
#include "host/ProducerInputs.h"
#include "src/render/Telling.h"
#include "src/report/FrameStrip.h"
#include "src/report/RunHistory.h"
#include "video/VideoFormat.h"

namespace segmask {

/// Counts of detections drawn and dropped by a key that the input chooses, for the first kMost keys; those of
/// all further keys are counted together.
template <class Key>
class CountsByKey {
 public:
  static constexpr std::size_t kMost = 200;

  struct Counts {
    uint64_t drawn = 0;
    uint64_t dropped = 0;
  };

  void add(const Key& key, bool drawn) {
    const auto known = counts_.find(key);
    Counts& counts = known != counts_.end() ? known->second : counts_.size() < kMost ? counts_[key] : others_;
    ++(drawn ? counts.drawn : counts.dropped);
  }

  const std::map<Key, Counts>& counts() const { return counts_; }
  const Counts& others() const { return others_; }

 private:
  std::map<Key, Counts> counts_;
  Counts others_;
};

/// What `segmask render --report` shows beyond the summary: how the run went over its frames, a strip of
/// pictures, which classes and producers occurred. Looks at each frame in the drawing stage. Its memory does
/// not grow with the video's length.
class RunReport {
 public:
  /// The frames come with inputs of `producers`. `telling` may be null; what it knows of a frame has to be
  /// known when the frame is looked at. Both must outlive the last look.
  RunReport(const ProducerInputs& producers, const Telling* telling)
      : producers_(producers), telling_(telling) {}

  /// After each render: the frame, its format and the result. Frames of pictures have no times.
  void look(const FrameJob& job, const VideoFormat& format, bool arePictures,
            const FrameRenderer::Result& result);

  const RunHistory& history() const { return history_; }
  const FrameStrip& strip() const { return strip_; }

  /// By the number of the class, of detections that could be read.
  const CountsByKey<int32_t>& classes() const { return classes_; }
  /// By the producer's name, of all detections.
  const CountsByKey<std::string>& producers() const { return byProducer_; }

 private:
  RunCounts countsSoFar() const;
  void countVerdicts();

  const ProducerInputs& producers_;
  const Telling* telling_;
  RunHistory history_;
  FrameStrip strip_;
  CountsByKey<int32_t> classes_;
  CountsByKey<std::string> byProducer_;
};

}  // namespace segmask
