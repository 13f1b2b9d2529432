#include <gtest/gtest.h>

#include "core/SwFlagSet.h"
#include "core/flags.h"

TEST(SwFlagSet, SetsAndResetsSingleFlags) {
  SwFlagSet<EntryType> types;
  EXPECT_TRUE(types.isEmpty());
  types.set(EntryType::File);
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
