#include "host/StageTimes.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace segmask {
namespace {

struct Stage {
  const char* name;
  StageTimes::Duration busy;
};

std::string percentText(StageTimes::Duration part, StageTimes::Duration whole) {
  const double share = whole.count() > 0 ? std::chrono::duration<double>(part) / whole : 0.0;
  return std::to_string(std::lround(100.0 * share)) + " %";
}

}  // namespace

std::string StageTimes::slowestStage() const {
  std::array<Stage, 3> stages{{{"reading", reading}, {"drawing", drawing}, {"writing", writing}}};
  std::stable_sort(stages.begin(), stages.end(),
                   [](const Stage& a, const Stage& b) { return a.busy > b.busy; });
  std::string text =
      std::string(stages[0].name) + ", busy " + percentText(stages[0].busy, whole) + " of the time";
  return text + " (" + stages[1].name + " " + percentText(stages[1].busy, whole) + ", " + stages[2].name +
         " " + percentText(stages[2].busy, whole) + ")";
}

}  // namespace segmask
