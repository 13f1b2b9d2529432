#include <gtest/gtest.h>

#include "render_base/RenderInput.h"
#include "render_base/RenderProducerStatus.h"

namespace {

int32_t mergedCode(int32_t first, int32_t later) {
  RenderProducerStatus status;
  status.code = first;
  RenderProducerStatus report;
  report.code = later;
  mergeProducerStatus(status, report);
  return status.code;
}

TEST(RenderProducerStatus, KeyIsTheIdAndTheNameWhereThereIsNone) {
  const auto check = [](auto record) {
    EXPECT_EQ(providerKey(record), "");
    record.producer_name = "name";
    EXPECT_EQ(providerKey(record), "name");
    record.producer_id = "id";
    EXPECT_EQ(providerKey(record), "id");
  };
  check(RenderProducerStatus());
  check(RenderInput());
}

TEST(RenderProducerStatus, CodePrecedenceIs0Then1Then3Then2Then4AndThenUnknownOnesOfWhichTheStoredIsKept) {
  const int32_t order[] = {0, 1, 3, 2, 4, 7, -1};
  for (int high = 0; high < 5; ++high) {
    for (int low = high; low < 7; ++low) {
      EXPECT_EQ(mergedCode(order[high], order[low]), order[high]);
      EXPECT_EQ(mergedCode(order[low], order[high]), order[high]);
    }
  }
  EXPECT_EQ(mergedCode(9, 7), 9);
  EXPECT_EQ(mergedCode(-1, 5), -1);
}

TEST(RenderProducerStatus, FirstValue0Then7Then9Gives7AndTheLargestMaxValueCountsComparedUnsigned) {
  RenderProducerStatus status;
  RenderProducerStatus report;
  status.maxValue = 5;
  report.firstValue = 7;
  report.maxValue = 2;
  mergeProducerStatus(status, report);
  EXPECT_EQ(status.maxValue, 5U);
  report.firstValue = 9;
  report.maxValue = 0x80000000U;
  mergeProducerStatus(status, report);
  EXPECT_EQ(status.firstValue, 7U);
  EXPECT_EQ(status.maxValue, 0x80000000U);
}

TEST(RenderProducerStatus, TextsFillWhileEmptyButThePayloadTypeNever) {
  RenderProducerStatus status;
  status.stream_name = "kept";
  const RenderProducerStatus report{"type", "name", "version", "stream", "detail", "id"};
  mergeProducerStatus(status, report);
  EXPECT_EQ(status.payload_type, "");
  EXPECT_EQ(status.producer_name, "name");
  EXPECT_EQ(status.producer_version, "version");
  EXPECT_EQ(status.stream_name, "kept");
  EXPECT_EQ(status.detail, "detail");
  EXPECT_EQ(status.producer_id, "id");

  const RenderProducerStatus later{"t2", "n2", "v2", "s2", "d2", "i2"};
  mergeProducerStatus(status, later);
  EXPECT_EQ(status.producer_name, "name");
  EXPECT_EQ(status.producer_version, "version");
  EXPECT_EQ(status.detail, "detail");
  EXPECT_EQ(status.producer_id, "id");
}

}  // namespace
