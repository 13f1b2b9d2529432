#include <limits>

#include "tests/picture_fixture.h"

namespace {

using zelvo::packedNv12Bytes;
using zelvo::ZelvoPicture;

class Transfer : public DeviceTest {};

TEST(PackedBytes, CountOddSidesUpToWholeChromaPairsAndAreNoneWithoutASide) {
  EXPECT_EQ(packedNv12Bytes(1, 1), 1u + 2u);
  EXPECT_EQ(packedNv12Bytes(2, 2), 4u + 2u);
  EXPECT_EQ(packedNv12Bytes(3, 5), 15u + 3u * 4u);
  EXPECT_EQ(packedNv12Bytes(4, 3), 12u + 2u * 4u);
  EXPECT_EQ(packedNv12Bytes(1920, 1080), 1920u * 1080u * 3u / 2u);
  EXPECT_EQ(packedNv12Bytes(std::numeric_limits<int>::max(), 1), 2147483647u + 2147483648u);
  EXPECT_EQ(packedNv12Bytes(0, 0), 0u);
  EXPECT_EQ(packedNv12Bytes(0, 8), 0u);
  EXPECT_EQ(packedNv12Bytes(8, -1), 0u);
}

TEST_F(Transfer, FramesMakeTheRoundTripAtEverySize) {
  cudaStream_t stream = nullptr;
  ASSERT_EQ(cudaStreamCreateWithFlags(&stream, cudaStreamNonBlocking), cudaSuccess);
  unsigned seed = 0;
  for (const Size& size : kSizes) {
    SCOPED_TRACE(size);
    const Bytes sent = randomFrame(size, ++seed);
    ZelvoPicture picture(size.width, size.height);
    zelvo::upload(picture, sent.data(), stream);
    Bytes received(sent.size(), 0);
    zelvo::download(picture, received.data(), stream);
    EXPECT_EQ(received, sent);
  }
  EXPECT_EQ(cudaStreamDestroy(stream), cudaSuccess);
}

TEST_F(Transfer, UploadPutsEachSampleWhereItsPitchSays) {
  const Size size{5, 3};  // chroma: 2 rows of 6 bytes
  const Bytes frame = randomFrame(size, 4);
  ZelvoPicture picture(size.width, size.height);
  zelvo::upload(picture, frame.data(), nullptr);
  for (int row = 0; row < 3; ++row) {
    for (int x = 0; x < 5; ++x) {
      EXPECT_EQ(peek(at(picture.yPlane(), picture.yPitch(), row, x)),
                frame[static_cast<std::size_t>(row * 5 + x)]);
    }
  }
  for (int row = 0; row < 2; ++row) {
    for (int x = 0; x < 6; ++x) {
      EXPECT_EQ(peek(at(picture.uvPlane(), picture.uvPitch(), row, x)),
                frame[static_cast<std::size_t>(15 + row * 6 + x)]);
    }
  }
}

TEST_F(Transfer, TheEmptyPictureTakesAndGivesNothing) {
  ZelvoPicture picture;
  unsigned char byte = 7;
  EXPECT_NO_THROW(zelvo::upload(picture, &byte, nullptr));
  EXPECT_NO_THROW(zelvo::download(picture, &byte, nullptr));
  EXPECT_EQ(byte, 7);
}

}  // namespace
