#include "render_base/RenderProducerStatus.h"

#include <algorithm>
#include <array>

namespace {

/// Precedence of a status code: the higher rank wins. Code 3 is intended to rank above code 2.
int codeRank(int32_t code) {
  constexpr std::array<int, 5> kRanks = {6, 5, 3, 4, 2};
  return code >= 0 && code < static_cast<int32_t>(kRanks.size()) ? kRanks[static_cast<std::size_t>(code)] : 0;
}

void fillWhileEmpty(std::string& text, const std::string& later) {
  if (text.empty()) text = later;
}

}  // namespace

void mergeProducerStatus(RenderProducerStatus& merged, const RenderProducerStatus& later) {
  if (codeRank(merged.code) < codeRank(later.code)) merged.code = later.code;
  fillWhileEmpty(merged.stream_name, later.stream_name);
  fillWhileEmpty(merged.producer_name, later.producer_name);
  fillWhileEmpty(merged.producer_version, later.producer_version);
  fillWhileEmpty(merged.detail, later.detail);
  fillWhileEmpty(merged.producer_id, later.producer_id);
  if (merged.firstValue == 0) merged.firstValue = later.firstValue;
  merged.maxValue = std::max(merged.maxValue, later.maxValue);
}
