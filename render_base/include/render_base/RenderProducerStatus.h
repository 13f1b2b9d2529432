#pragma once

#include <cstdint>
#include <string>

/// One report of an upstream producer about itself. Several reports of one producer are merged, see
/// mergeProducerStatus.
struct RenderProducerStatus {
  std::string payload_type;
  std::string producer_name;  ///< the provider key where producer_id is empty
  std::string producer_version;
  std::string stream_name;
  std::string detail;
  std::string producer_id;  ///< the provider key

  uint32_t firstValue = 0;  ///< the first one reported that is not 0
  uint32_t maxValue = 0;    ///< the largest one reported
  int32_t code = 0;         ///< 0 to 4; anything else counts as unknown
};

/// The key that groups the records of one producer: producer_id, or producer_name where that is empty. A
/// record with neither has no key (the result is empty) and belongs to no producer.
template <class Record>
const std::string& providerKey(const Record& record) {
  return record.producer_id.empty() ? record.producer_name : record.producer_id;
}

/// Merges a later report of the same producer into `merged`. The code of higher precedence wins (0, then 1,
/// 3, 2, 4, then unknown ones; a tie keeps the older). Each text but payload_type is filled while still
/// empty; firstValue is kept once it is not 0; maxValue becomes the larger.
void mergeProducerStatus(RenderProducerStatus& merged, const RenderProducerStatus& later);
