#include <atomic>
#include <thread>

#include "tests/picture_fixture.h"
#include "zelvo/DeviceRenderBackend.h"
#include "zelvo/RenderTarget.h"
#include "zelvo/ZelvoPicturePool.h"

namespace {

using zelvo::ZelvoPicture;
using zelvo::ZelvoPicturePool;

class Pool : public DeviceTest {};

TEST_F(Pool, ACloneEqualsItsSourceAtEverySize) {
  ZelvoPicturePool pool;
  unsigned seed = 0;
  for (const Size& size : kSizes) {
    SCOPED_TRACE(size);
    const Bytes frame = randomFrame(size, ++seed);
    ZelvoPicture source(size.width, size.height);
    zelvo::upload(source, frame.data(), nullptr);
    const auto copy = pool.clone(source);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->width(), size.width);
    EXPECT_EQ(copy->height(), size.height);
    EXPECT_EQ(samplesOf(*copy), frame);
  }
}

TEST_F(Pool, ACloneAndItsSourceAreIndependent) {
  ZelvoPicturePool pool;
  const Size size{6, 4};
  const Bytes first = randomFrame(size, 1);
  const Bytes second = randomFrame(size, 2);
  const Bytes third = randomFrame(size, 3);
  ZelvoPicture source(size.width, size.height);
  zelvo::upload(source, first.data(), nullptr);
  source.metadata().values["camera_name"] = "north";
  const auto copy = pool.clone(source);
  ASSERT_NE(copy, nullptr);
  zelvo::upload(source, second.data(), nullptr);
  EXPECT_EQ(samplesOf(*copy), first);
  zelvo::upload(*copy, third.data(), nullptr);
  EXPECT_EQ(samplesOf(source), second);
  copy->metadata().values["camera_name"] = "south";
  EXPECT_EQ(source.metadata().values.at("camera_name"), "north");
}

TEST_F(Pool, ACloneHasItsSourcesMetadataAndNotItsBuffersFormerOnes) {
  ZelvoPicturePool pool;
  ZelvoPicture source(2, 2);
  source.metadata().values["camera_name"] = "north";
  EXPECT_EQ(pool.clone(source)->metadata().values.at("camera_name"), "north");
  source.metadata().values.clear();
  EXPECT_TRUE(pool.clone(source)->metadata().values.empty());
}

TEST_F(Pool, TheEmptyPictureHasAnEmptyClone) {
  ZelvoPicturePool pool;
  ZelvoPicture source;
  source.metadata().values["camera_name"] = "north";
  const auto copy = pool.clone(source);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->width(), 0);
  EXPECT_EQ(copy->metadata().values.at("camera_name"), "north");
  EXPECT_EQ(pool.idleBuffers(), 0u);
}

TEST_F(Pool, ABufferIsUsedAgainForTheSameSizeOnly) {
  ZelvoPicturePool pool;
  const ZelvoPicture source(8, 6);
  const ZelvoPicture turned(6, 8);
  auto copy = pool.clone(source);
  unsigned char* const samples = copy->yPlane();
  EXPECT_EQ(pool.idleBuffers(), 0u);
  copy.reset();
  EXPECT_EQ(pool.idleBuffers(), 1u);
  const auto other = pool.clone(turned);
  EXPECT_NE(other->yPlane(), samples);
  EXPECT_EQ(pool.idleBuffers(), 1u);
  copy = pool.clone(source);
  EXPECT_EQ(copy->yPlane(), samples);
  EXPECT_EQ(pool.idleBuffers(), 0u);
}

TEST_F(Pool, ABufferComesBackFromItsLastOwner) {
  ZelvoPicturePool pool;
  zelvo::DeviceRenderBackend backend(nullptr);
  auto copy = pool.clone(ZelvoPicture(4, 4));
  auto target = copy->makeRenderTarget();
  auto mapping = backend.map(*target);
  copy.reset();
  EXPECT_EQ(pool.idleBuffers(), 0u) << "the target and the guard hold it";
  target.reset();
  EXPECT_EQ(pool.idleBuffers(), 0u) << "the guard holds it";
  mapping.guard = IRenderBackend::Guard();
  EXPECT_EQ(pool.idleBuffers(), 1u);
}

TEST_F(Pool, NoMoreThanEightBuffersWait) {
  ZelvoPicturePool pool;
  const ZelvoPicture source(2, 2);
  std::vector<std::shared_ptr<ZelvoPicture>> copies(12);
  for (auto& copy : copies) copy = pool.clone(source);
  copies.clear();
  EXPECT_EQ(pool.idleBuffers(), 8u);
}

TEST_F(Pool, TheBufferThatWaitedLongestGoesFirst) {
  ZelvoPicturePool pool;
  const ZelvoPicture rare(2, 2);
  const ZelvoPicture common(4, 2);
  EXPECT_NE(pool.clone(rare), nullptr);
  std::vector<std::shared_ptr<ZelvoPicture>> copies(8);
  for (auto& copy : copies) copy = pool.clone(common);
  copies.clear();
  EXPECT_EQ(pool.idleBuffers(), 8u);
  const auto again = pool.clone(rare);
  EXPECT_EQ(pool.idleBuffers(), 8u) << "a new buffer: the waiting one of this size was freed";
}

TEST_F(Pool, ClonesOutliveThePool) {
  const Size size{5, 5};
  const Bytes frame = randomFrame(size, 5);
  ZelvoPicture source(size.width, size.height);
  zelvo::upload(source, frame.data(), nullptr);
  std::shared_ptr<ZelvoPicture> copy;
  {
    ZelvoPicturePool pool;
    copy = pool.clone(source);
  }
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(samplesOf(*copy), frame);
}

TEST_F(Pool, ThreadsMayShareIt) {
  ZelvoPicturePool pool;
  std::atomic<int> wrong{0};
  const auto work = [&](unsigned seed) {
    const Size size{static_cast<int>(seed % 2) + 16, 8};
    const Bytes frame = randomFrame(size, seed);
    ZelvoPicture source(size.width, size.height);
    zelvo::upload(source, frame.data(), nullptr);
    for (int round = 0; round < 30; ++round) {
      pool.setWriter("writer " + std::to_string(seed));
      const auto copy = pool.clone(source);
      if (!copy || samplesOf(*copy) != frame) ++wrong;
    }
  };
  std::vector<std::thread> threads;
  for (unsigned seed = 1; seed <= 4; ++seed) threads.emplace_back(work, seed);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_LE(pool.idleBuffers(), 4u);
}

}  // namespace
