#pragma once

#include <cstdint>
#include <string>

#include "core/SwAny.h"

/// One input of a frame, delivered by one upstream producer. Owned by the host.
struct RenderInput {
  /// The same six texts as in RenderProducerStatus; producer_id, or else producer_name, identifies the
  /// producer.
  std::string payload_type;
  std::string producer_name;
  std::string producer_version;
  std::string stream_name;
  std::string detail;
  std::string producer_id;

  /// As the producer stored it; the context's payload resolver turns it into a readable one. May be empty.
  SwAny payload;

  /// The frame the payload was made for; 0 means not set, and the context's frame number stands in.
  uint64_t frame_id = 0;

  /// Whether the host took the input from an earlier frame because the producer has none for this one.
  bool uses_lookback = false;
};
