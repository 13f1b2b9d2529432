#include <gtest/gtest.h>

#include "io/UserError.h"
#include "video/mask_picture.h"

namespace segmask {
namespace {

using Values = std::vector<uint8_t>;

// Whole files that another PNG library wrote.

/// 0 1 2 / 3 0 200 in grey.
const char kGrey[] =
    "89504e470d0a1a0a0000000d4948445200000003000000020800000000b81f39c60000001049444154789c6364"
    "606464606638010000ec00cf76e5114b0000000049454e44ae426082";

/// 0 1 2 3 3 as indices of 2 bits. The palette is white, two dark greys, black.
const char kPalette[] =
    "89504e470d0a1a0a0000000d49484452000000050000000102030000006b908c600000000c504c5445ffffff01"
    "0101020202000000182b27c40000000b49444154789c63903e000000f900dc741de4ac0000000049454e44ae42"
    "6082";

/// 0 1 1 / 1 0 0 in grey of 1 bit.
const char kBits[] =
    "89504e470d0a1a0a0000000d4948445200000003000000020100000000b50f5bb70000000c49444154789c6348"
    "605200000148008332485d580000000049454e44ae426082";

/// Black, the darkest blue and red.
const char kColors[] =
    "89504e470d0a1a0a0000000d4948445200000003000000010802000000948283e30000001249444154789c6360"
    "6060606060fccfc00000030b01013d08b45a0000000049454e44ae426082";

/// Black, invisible green, red that is hardly visible.
const char kColorsWithAlpha[] =
    "89504e470d0a1a0a0000000d49484452000000030000000108060000001be014b40000001549444154789c6360"
    "6060f8cfc0c9c0f09f818111000d400209d2dd5b130000000049454e44ae426082";

/// 7, an invisible 7, 0.
const char kGreyWithAlpha[] =
    "89504e470d0a1a0a0000000d4948445200000003000000010804000000b1e9dc3f0000000f49444154789c6360"
    "ffcfcec0c009000551011711322ca30000000049454e44ae426082";

/// 1 300 in grey of 16 bits.
const char kSixteenBits[] =
    "89504e470d0a1a0a0000000d494844520000000200000001100000000081d9fc150000000d49444154789c6364"
    "6064d40600003a002fd9d5cc0c0000000049454e44ae426082";

/// 0 1 2 2 as indices of 8 bits, of which index 1 is transparent.
const char kTransparentIndex[] =
    "89504e470d0a1a0a0000000d4948445200000004000000010803000000cee2ffff00000009504c544500000000"
    "00000000008363e9c00000000374524e53ff00ff69ec1fbe0000000d49444154789c63606064620200000e0006"
    "69da81da0000000049454e44ae426082";

/// 0 1 2 15 in grey of 4 bits.
const char kGreyOfFourBits[] =
    "89504e470d0a1a0a0000000d494844520000000400000001040000000019a7bd100000000b49444154789c6360"
    "d4070000340031766fa2d10000000049454e44ae426082";

/// 0 1 2 3 in grey of 2 bits.
const char kGreyOfTwoBits[] =
    "89504e470d0a1a0a0000000d494844520000000400000001020000000096e748b00000000a49444154789c6390"
    "0600001d001c8ef4f5210000000049454e44ae426082";

/// 0 1 2 3 in grey of 4 bits, of which 2 is transparent.
const char kTransparentGrey[] =
    "89504e470d0a1a0a0000000d494844520000000400000001040000000019a7bd100000000274524e530002989d"
    "ac140000000b49444154789c6360540600002800253ac315ef0000000049454e44ae426082";

/// 0 1 1 0 in grey of 1 bit, of which 1 is transparent.
const char kTransparentBit[] =
    "89504e470d0a1a0a0000000d4948445200000004000000010100000000d14732600000000274524e5300010194"
    "fdae0000000a49444154789c6348000000620061b19879f20000000049454e44ae426082";

/// 1 2 3 in grey of 8 bits. Before the header stands a chunk of another kind, which says 1 x 1 in its place.
const char kHeaderSecond[] =
    "89504e470d0a1a0a0000001d746553740000000100000001080000000000000000000000000000000000000000"
    "512c79850000000d49484452000000030000000108000000003e8b4b680000000c49444154789c636064620600"
    "000e0007d76fe4780000000049454e44ae426082";

// Whole in all but their image data, which end early.

/// 3 x 2 in grey, with the first row alone.
const char kOneRowOfTwo[] =
    "89504e470d0a1a0a0000000d4948445200000003000000020800000000b81f39c60000000c4944415478da6360"
    "6064020000080004081d630a0000000049454e44ae426082";

/// The same with all but the last pixel.
const char kOnePixelMissing[] =
    "89504e470d0a1a0a0000000d4948445200000003000000020800000000b81f39c60000000f4944415478da6360"
    "60646260660000001a0007570af68e0000000049454e44ae426082";

/// 1 x 2000 in grey, with 1999 rows.
const char kOneRowOf2000Missing[] =
    "89504e470d0a1a0a0000000d4948445200000001000007d0080000000026bb6a510000001c4944415478daedc2"
    "310d0000000220ed5fda183e0cd20000000057030c9207d0a7ecc2de0000000049454e44ae426082";

/// 1 x 2 in colours, with the first row alone.
const char kOneColourOfTwo[] =
    "89504e470d0a1a0a0000000d494844520000000100000002080200000016e321700000000c4944415478da63f8"
    "cfc0000003010100f70341430000000049454e44ae426082";

/// 3 x 2 in grey, interlaced, without the row of the last pass.
const char kLastPassMissing[] =
    "89504e470d0a1a0a0000000d4948445200000003000000020800000001cf1809500000000e4944415478da6360"
    "606062600400000d0004ca6189990000000049454e44ae426082";

/// 0 1 2 / 3 4 5 in grey, interlaced.
const char kInterlaced[] =
    "89504e470d0a1a0a0000000d4948445200000003000000020800000001cf180950000000124944415478da6360"
    "6060626064606661050000330010417e56d20000000049454e44ae426082";

/// 0 1 2 / 3 0 200 in grey, the data in two chunks.
const char kTwoChunks[] =
    "89504e470d0a1a0a0000000d4948445200000003000000020800000000b81f39c6000000054944415478da6360"
    "60ae19d4bc0000000b494441546462606638010000e900cfeee92bb30000000049454e44ae426082";

std::string bytesOf(const std::string& digits) {
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

MaskPicture decoded(const char* digits) {
  return decodeMaskPicture(bytesOf(digits));
}

std::string refusal(const std::string& bytes) {
  try {
    decodeMaskPicture(bytes);
  } catch (const UserError& error) {
    return error.what();
  }
  return "nothing was wrong";
}

TEST(MaskPicture, GreyValuesAndPaletteIndicesAreValuesWhateverTheColour) {
  const MaskPicture picture = decoded(kGrey);
  EXPECT_EQ(picture.width, 3);
  EXPECT_EQ(picture.height, 2);
  EXPECT_TRUE(picture.isIndexed);
  EXPECT_EQ(picture.values, (Values{0, 1, 2, 3, 0, 200}));
  EXPECT_TRUE(decoded(kPalette).isIndexed);
  EXPECT_EQ(decoded(kPalette).values, (Values{0, 1, 2, 3, 3}));
  EXPECT_EQ(decoded(kBits).values, (Values{0, 1, 1, 1, 0, 0}));
  EXPECT_EQ(decoded(kGreyOfTwoBits).values, (Values{0, 1, 2, 3}));
  EXPECT_EQ(decoded(kGreyOfFourBits).values, (Values{0, 1, 2, 15}));
}

TEST(MaskPicture, OfColoursAllButBlackIsInside) {
  EXPECT_FALSE(decoded(kColors).isIndexed);
  EXPECT_EQ(decoded(kColors).values, (Values{0, 1, 1}));
}

TEST(MaskPicture, TransparentPixelsAreOutside) {
  EXPECT_EQ(decoded(kColorsWithAlpha).values, (Values{0, 0, 1}));
  EXPECT_EQ(decoded(kGreyWithAlpha).values, (Values{7, 0, 0}));
  EXPECT_EQ(decoded(kTransparentIndex).values, (Values{0, 0, 2, 2}));
  EXPECT_EQ(decoded(kTransparentGrey).values, (Values{0, 1, 0, 3}));
  EXPECT_EQ(decoded(kTransparentBit).values, (Values{0, 0, 0, 0}));
}

TEST(MaskPicture, RefusesWhatIsNoWholePngFileOfEightBits) {
  EXPECT_EQ(refusal(""), "is no PNG file");
  EXPECT_EQ(refusal("GIF89a"), "is no PNG file");
  EXPECT_EQ(refusal(bytesOf(kSixteenBits)), "has 16 bits a sample; masks have at most 8");
  const std::string file = bytesOf(kGrey);
  EXPECT_EQ(refusal(file.substr(0, 32)), "the PNG file is cut off");
  for (const std::size_t size : {33U, 45U, 52U}) {
    EXPECT_EQ(refusal(file.substr(0, size)), "the PNG file is damaged or cut off") << size;
  }
  std::string damaged = file;
  damaged[45] = static_cast<char>(damaged[45] ^ 1);
  EXPECT_EQ(refusal(damaged), "the PNG file is damaged or cut off");
}

// The rows that are missing would be outside.
TEST(MaskPicture, RefusesImageDataThatEndBeforeTheLastPixel) {
  for (const char* file :
       {kOneRowOfTwo, kOnePixelMissing, kOneRowOf2000Missing, kOneColourOfTwo, kLastPassMissing}) {
    EXPECT_EQ(refusal(bytesOf(file)), "the PNG file is damaged or cut off") << file;
  }
}

TEST(MaskPicture, TheDataMayBeInterlacedOrInSeveralChunks) {
  EXPECT_EQ(decoded(kInterlaced).values, (Values{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(decoded(kTwoChunks).values, (Values{0, 1, 2, 3, 0, 200}));
}

// A file of a few bytes could ask for any amount of memory.
TEST(MaskPicture, RefusesTooManyPixelsByTheirHeaderAlone) {
  std::string file = bytesOf(kGrey);
  file.replace(16, 8, std::string("\0\1\0\0\0\0\4\1", 8));
  EXPECT_EQ(refusal(file), "has more than 67108864 pixels");
}

// The limits would be compared with another chunk's bytes.
TEST(MaskPicture, RefusesAFileThatDoesNotBeginWithItsHeader) {
  EXPECT_EQ(refusal(bytesOf(kHeaderSecond)), "the PNG file is damaged or cut off");
}

TEST(MaskPicture, GreyValuesAreReadBackAsTheyWereWritten) {
  Values values;
  for (int i = 0; i < 35; ++i) values.push_back(static_cast<uint8_t>(i * 7));
  const MaskPicture picture = decodeMaskPicture(encodeGreyPng(values, 7, 5));
  EXPECT_EQ(picture.width, 7);
  EXPECT_EQ(picture.height, 5);
  EXPECT_EQ(picture.values, values);
}

}  // namespace
}  // namespace segmask
