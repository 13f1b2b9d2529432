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
  RenderProducerStatus status;
  EXPECT_EQ(providerKey(status), "");
  status.producer_name = "name";
  EXPECT_EQ(providerKey(status), "name");
  status.producer_id = "id";
  EXPECT_EQ(providerKey(status), "id");

  RenderInput input;
  input.producer_name = "name";
  EXPECT_EQ(providerKey(input), "name");
  input.producer_id = "id";
  EXPECT_EQ(providerKey(input), "id");
}

TEST(RenderProducerStatus, Codes2And3MergeTo3InEitherOrder) {
  EXPECT_EQ(mergedCode(2, 3), 3);
  EXPECT_EQ(mergedCode(3, 2), 3);
}

TEST(RenderProducerStatus, Codes4Then7Keep4AndCodes7Then4Give4) {
  EXPECT_EQ(mergedCode(4, 7), 4);
  EXPECT_EQ(mergedCode(7, 4), 4);
}

TEST(RenderProducerStatus, CodePrecedenceIs0Then1Then3Then2Then4) {
  const int32_t order[] = {0, 1, 3, 2, 4};
  for (int high = 0; high < 5; ++high) {
    for (int low = high; low < 5; ++low) {
      EXPECT_EQ(mergedCode(order[high], order[low]), order[high]);
      EXPECT_EQ(mergedCode(order[low], order[high]), order[high]);
    }
  }
}

TEST(RenderProducerStatus, AnUnknownStoredCodeIsKeptAgainstAnotherUnknownOne) {
  EXPECT_EQ(mergedCode(9, 7), 9);
  EXPECT_EQ(mergedCode(-1, 5), -1);
  EXPECT_EQ(mergedCode(-1, 4), 4);
  EXPECT_EQ(mergedCode(0, -1), 0);
}

TEST(RenderProducerStatus, FirstValue0Then7Then9Gives7AndMaxValue5Then2Gives5) {
  RenderProducerStatus status;
  RenderProducerStatus report;
  status.maxValue = 5;
  report.firstValue = 7;
  report.maxValue = 2;
  mergeProducerStatus(status, report);
  report.firstValue = 9;
  mergeProducerStatus(status, report);
  EXPECT_EQ(status.firstValue, 7U);
  EXPECT_EQ(status.maxValue, 5U);
}

TEST(RenderProducerStatus, MaxValueComparesUnsigned) {
  RenderProducerStatus status;
  status.maxValue = 1;
  RenderProducerStatus report;
  report.maxValue = 0x80000000U;
  mergeProducerStatus(status, report);
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
