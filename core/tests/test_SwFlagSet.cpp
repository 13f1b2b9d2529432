#include <gtest/gtest.h>

#include <cstdint>

#include "core/SwFlagSet.h"
#include "core/flags.h"

TEST(SwFlagSet, SetsAndResetsSingleFlags) {
  SwFlagSet<EntryType> types;
  EXPECT_TRUE(types.isEmpty());
  EXPECT_TRUE(types.empty());
  types.set(EntryType::File);
  EXPECT_FALSE(types.empty());
  types.set(EntryType::Hidden);
  EXPECT_TRUE(types.contains(EntryType::File));
  EXPECT_FALSE(types.contains(EntryType::Directory));
  EXPECT_EQ(types.bits(), 0x09U);
  types.reset(EntryType::File);
  EXPECT_EQ(types, SwFlagSet<EntryType>{EntryType::Hidden});
}

TEST(SwFlagSet, ComparesByContent) {
  const SwFlagSet<DrawTextFormat> a{DrawTextFormat::Left, DrawTextFormat::Top};
  const SwFlagSet<DrawTextFormat> b{DrawTextFormat::Top, DrawTextFormat::Left};
  EXPECT_EQ(a, b);
  EXPECT_NE(a, SwFlagSet<DrawTextFormat>{DrawTextFormat::Left});
  EXPECT_EQ((SwFlagSet<WindowFlag>{WindowFlag::Frameless, WindowFlag::FullScreen}.bits()), 0x09U);
}

// Payloads carry the numbers, so they are fixed.
TEST(Flags, HaveTheirFixedBits) {
  const auto bits = [](auto flag) { return static_cast<uint32_t>(flag); };
  EXPECT_EQ(bits(DrawTextFormat::Left), 0x01U);
  EXPECT_EQ(bits(DrawTextFormat::Right), 0x02U);
  EXPECT_EQ(bits(DrawTextFormat::HorizontalCenter), 0x04U);
  EXPECT_EQ(bits(DrawTextFormat::Top), 0x08U);
  EXPECT_EQ(bits(DrawTextFormat::Bottom), 0x10U);
  EXPECT_EQ(bits(DrawTextFormat::VerticalCenter), 0x20U);
  EXPECT_EQ(bits(DrawTextFormat::WordWrap), 0x40U);
  EXPECT_EQ(bits(WindowFlag::Frameless), 0x01U);
  EXPECT_EQ(bits(WindowFlag::FixedSize), 0x02U);
  EXPECT_EQ(bits(WindowFlag::StaysOnTop), 0x04U);
  EXPECT_EQ(bits(WindowFlag::FullScreen), 0x08U);
  EXPECT_EQ(bits(EntryType::File), 0x01U);
  EXPECT_EQ(bits(EntryType::Directory), 0x02U);
  EXPECT_EQ(bits(EntryType::SymbolicLink), 0x04U);
  EXPECT_EQ(bits(EntryType::Hidden), 0x08U);
}
