// The rows of a mask, read many pixels at a time, against its pixels read one by one.

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <vector>

#include "mask/mask_rows.h"

namespace seg_mask {
namespace {

using Bytes = std::vector<unsigned char>;

Bytes scalarRow(const MaskBits& mask, int row) {
  Bytes bytes;
  for (int x = 0; x < mask.width; ++x) {
    const auto pixel =
        static_cast<std::size_t>(row) * static_cast<std::size_t>(mask.width) + static_cast<std::size_t>(x);
    bytes.push_back(mask.inside(pixel) ? 255 : 0);
  }
  return bytes;
}

std::vector<int> scalarEdges(const Bytes& row) {
  std::vector<int> edges;
  for (std::size_t x = 0; x < row.size(); ++x) {
    if (row[x] != (x == 0 ? 0 : row[x - 1])) edges.push_back(static_cast<int>(x));
  }
  return edges;
}

// Each width puts its rows at other bits of a byte and of a word.
template <class Check>
void forEachRow(Check check) {
  std::mt19937 random(1);
  for (int width = 1; width <= 200; ++width) {
    MaskBits mask{width, 9, Bytes(static_cast<std::size_t>(width * 9 + 7) / 8)};
    for (const unsigned density : {2U, 30U}) {
      for (uint8_t& byte : mask.bits)
        byte = random() % density == 0 ? static_cast<uint8_t>(random()) : uint8_t{0};
      for (int row = 0; row < mask.height; ++row) {
        SCOPED_TRACE("width " + std::to_string(width) + ", row " + std::to_string(row));
        check(mask, row);
        if (testing::Test::HasFailure()) return;
      }
    }
  }
}

TEST(MaskRows, AreExpandedToTheirPixels) {
  forEachRow([](const MaskBits& mask, int row) {
    Bytes bytes(static_cast<std::size_t>(mask.width) + 1, 7);
    expandRow(packedRow(mask, row), bytes.data());
    EXPECT_EQ(bytes.back(), 7) << "a byte behind the row was written";
    bytes.pop_back();
    EXPECT_EQ(bytes, scalarRow(mask, row));
  });
}

TEST(MaskRows, AreSampledWhereTheColumnsSay) {
  forEachRow([](const MaskBits& mask, int row) {
    const Bytes plain = scalarRow(mask, row);
    const std::vector<int> columns = {mask.width - 1, 0, mask.width / 2, mask.width / 2};
    Bytes bytes(columns.size());
    sampleRow(packedRow(mask, row), columns.data(), columns.size(), 0, bytes.data());
    for (std::size_t i = 0; i < columns.size(); ++i) {
      EXPECT_EQ(bytes[i], plain[static_cast<std::size_t>(columns[i])]) << "column " << columns[i];
    }
  });
}

// Two columns of rows of every width: expanded first up to 12 pixels, read one by one beyond.
TEST(MaskRows, OfManyPixelsAreSampledAsPixelByPixelFromAnyColumnOn) {
  forEachRow([](const MaskBits& mask, int row) {
    constexpr int kFirst = 5;  // the number of the row's first column
    const std::vector<int> columns = {kFirst + mask.width - 1, kFirst};
    std::array<unsigned char, denseRowScratch(2) + 1> scratch;
    scratch.back() = 7;
    Bytes dense(columns.size());
    sampleDenseRow(packedRow(mask, row), columns.data(), columns.size(), kFirst, scratch.data(),
                   dense.data());
    EXPECT_EQ(scratch.back(), 7) << "a byte behind the scratch memory was written";
    Bytes plain(columns.size());
    sampleRow(packedRow(mask, row), columns.data(), columns.size(), kFirst, plain.data());
    EXPECT_EQ(dense, plain);
    EXPECT_EQ(plain.back(), scalarRow(mask, row).front());
  });
}

TEST(MaskRows, HaveAnEdgeWhereInsideBeginsAndWhereItEnds) {
  forEachRow([](const MaskBits& mask, int row) {
    const std::vector<int> expected = scalarEdges(scalarRow(mask, row));
    RowEdges edges;
    const bool found = findEdges(packedRow(mask, row), edges);
    ASSERT_EQ(found, expected.size() <= std::size_t{RowEdges::kCapacity});
    if (!found) return;
    EXPECT_EQ(std::vector<int>(edges.pixels, edges.pixels + edges.count), expected);
  });
}

}  // namespace
}  // namespace seg_mask
