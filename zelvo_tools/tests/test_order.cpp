#include "tests/cpu_fixture.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/guard_bytes.h"

namespace {

using zelvo::ZelvoPicture;
using zelvo::ZelvoPicturePool;

/// Streams that a test holds back, so that work is in flight for as long as it likes.
class Order : public SteeredDeviceTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(cudaStreamCreate(&stream_), cudaSuccess);
    cudart_cpu::hold(stream_);
  }
  void TearDown() override {
    EXPECT_EQ(cudaStreamDestroy(stream_), cudaSuccess);
    SteeredDeviceTest::TearDown();
  }
  cudaStream_t stream() const { return stream_; }

 private:
  cudaStream_t stream_ = nullptr;
};

TEST_F(Order, ACloneHasTheWorkQueuedBefore) {
  ZelvoPicturePool pool;
  const ZelvoPicture source(4, 2);
  ASSERT_EQ(cudaMemsetAsync(source.yPlane(), 77, 4, stream()), cudaSuccess);
  ASSERT_EQ(cudart_cpu::heldWork(stream()), 1u) << "not done yet";
  const auto copy = pool.clone(source);
  EXPECT_EQ(cudart_cpu::heldWork(nullptr), 0u) << "the copy is complete";
  EXPECT_EQ(peek(copy->yPlane() + 3), 77);
}

TEST_F(Order, ADownloadHasTheWorkQueuedBefore) {
  const ZelvoPicture picture(2, 1);
  ASSERT_EQ(cudaMemsetAsync(picture.yPlane(), 1, 2, stream()), cudaSuccess);
  ASSERT_EQ(cudaMemsetAsync(picture.uvPlane(), 2, 2, stream()), cudaSuccess);
  Bytes frame(4);
  zelvo::download(picture, frame.data(), stream());
  EXPECT_EQ(frame, (Bytes{1, 1, 2, 2}));
}

TEST_F(Order, AnUploadComesAfterTheWorkQueuedBeforeAndIsComplete) {
  ZelvoPicture picture(2, 1);
  ASSERT_EQ(cudaMemsetAsync(picture.yPlane(), 9, 2, stream()), cudaSuccess);
  const Bytes frame = {1, 2, 3, 4};
  zelvo::upload(picture, frame.data(), stream());
  EXPECT_EQ(cudart_cpu::heldWork(stream()), 0u);
  EXPECT_EQ(samplesOf(picture), frame);
}

TEST_F(Order, ANewBufferIsNotDrawnOverByItsOwnPreparation) {
  const ZelvoPicture picture(2, 1);
  cudaStream_t other = nullptr;
  ASSERT_EQ(cudaStreamCreateWithFlags(&other, cudaStreamNonBlocking), cudaSuccess);
  ASSERT_EQ(cudart_cpu::heldWork(nullptr), 0u) << "nothing of its own is left to do";
  ASSERT_EQ(cudaMemsetAsync(picture.yPlane(), 5, 2, other), cudaSuccess);
  EXPECT_EQ(peek(picture.yPlane()), 5);
  EXPECT_EQ(cudaStreamDestroy(other), cudaSuccess);
}

TEST_F(Order, ABufferWithWorkInFlightIsRecycledInOrder) {
  ZelvoPicturePool pool;
  const ZelvoPicture source(2, 1);
  ASSERT_EQ(cudaMemsetAsync(source.yPlane(), 1, 2), cudaSuccess);
  auto copy = pool.clone(source);
  unsigned char* const samples = copy->yPlane();
  ASSERT_EQ(cudaMemsetAsync(samples, 200, 2, stream()), cudaSuccess);
  copy.reset();
  copy = pool.clone(source);
  ASSERT_EQ(copy->yPlane(), samples);
  ASSERT_EQ(cudaDeviceSynchronize(), cudaSuccess);
  EXPECT_EQ(peek(samples), 1) << "the late drawing came before the copy";
}

TEST_F(Order, GuardBytesAreCheckedAfterWorkInFlightOnAnyStream) {
  if (!zelvo::guardBytesEnabled()) GTEST_SKIP() << "built without guard bytes (SEG_MASK_GUARD_BYTES)";
  static int reports;
  reports = 0;
  zelvo::setGuardReport([](const std::string&) { ++reports; });
  cudaStream_t other = nullptr;
  ASSERT_EQ(cudaStreamCreateWithFlags(&other, cudaStreamNonBlocking), cudaSuccess);
  cudart_cpu::hold(other);
  {
    const ZelvoPicture picture(2, 1);
    ASSERT_EQ(cudaMemsetAsync(picture.yPlane() - 1, 1, 1, other), cudaSuccess);
    ASSERT_EQ(cudart_cpu::heldWork(other), 1u);
  }
  zelvo::setGuardReport(nullptr);
  EXPECT_EQ(reports, 1);
  EXPECT_EQ(cudaStreamDestroy(other), cudaSuccess);
}

}  // namespace
