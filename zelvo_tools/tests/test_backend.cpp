#include "tests/picture_fixture.h"
#include "zelvo/DeviceRenderBackend.h"
#include "zelvo/RenderTarget.h"
#include "zelvo/ZelvoPicturePool.h"

namespace {

using zelvo::DeviceRenderBackend;
using zelvo::RenderTarget;
using zelvo::ZelvoPicture;
using Guard = IRenderBackend::Guard;

class Backend : public DeviceTest {};

TEST_F(Backend, MapsAPicturesOwnPlanesOnItsStream) {
  cudaStream_t stream = nullptr;
  ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
  {
    DeviceRenderBackend backend(stream);
    ZelvoPicture picture(7, 3);
    const auto target = picture.makeRenderTarget();
    const auto mapping = backend.map(*target);
    EXPECT_TRUE(mapping.guard.holds());
    EXPECT_EQ(mapping.planes.y, picture.yPlane());
    EXPECT_EQ(mapping.planes.uv, picture.uvPlane());
    EXPECT_EQ(mapping.planes.yPitch, picture.yPitch());
    EXPECT_EQ(mapping.planes.uvPitch, picture.uvPitch());
    EXPECT_EQ(mapping.planes.reserved, 0u);
    EXPECT_EQ(mapping.planes.stream, stream);
  }
  EXPECT_EQ(cudaStreamDestroy(stream), cudaSuccess);
}

TEST_F(Backend, ATargetWithoutSamplesMapsToNothing) {
  DeviceRenderBackend backend(nullptr);
  RenderTarget target(nullptr);
  const auto mapping = backend.map(target);
  EXPECT_FALSE(mapping.guard.holds());
  EXPECT_EQ(mapping.planes.y, nullptr);
  EXPECT_EQ(mapping.planes.uv, nullptr);
  EXPECT_EQ(mapping.planes.yPitch, 0);
  EXPECT_EQ(mapping.planes.uvPitch, 0);
  EXPECT_EQ(backend.liveMappings(), 0u);
}

TEST_F(Backend, CountsLiveMappings) {
  DeviceRenderBackend backend(nullptr);
  ZelvoPicture picture(2, 2);
  const auto target = picture.makeRenderTarget();
  EXPECT_EQ(backend.liveMappings(), 0u);
  auto first = backend.map(*target);
  EXPECT_EQ(backend.liveMappings(), 1u);
  {
    const auto second = backend.map(*target);
    EXPECT_EQ(backend.liveMappings(), 2u);
  }
  EXPECT_EQ(backend.liveMappings(), 1u);
  Guard moved = std::move(first.guard);
  EXPECT_TRUE(moved.holds());
  EXPECT_EQ(backend.liveMappings(), 1u);
  moved = Guard();
  EXPECT_FALSE(moved.holds());
  EXPECT_EQ(backend.liveMappings(), 0u);
}

TEST_F(Backend, AssigningAGuardEndsTheMappingItHeld) {
  DeviceRenderBackend one(nullptr);
  DeviceRenderBackend two(nullptr);
  ZelvoPicture picture(2, 2);
  const auto target = picture.makeRenderTarget();
  auto mapping = one.map(*target);
  mapping = two.map(*target);
  EXPECT_EQ(one.liveMappings(), 0u);
  EXPECT_EQ(two.liveMappings(), 1u);
}

TEST_F(Backend, AGuardKeepsThePlanesWhenAllElseIsGone) {
  DeviceRenderBackend backend(nullptr);
  IRenderBackend::Mapping mapping;
  {
    zelvo::ZelvoPicturePool pool;
    const auto copy = pool.clone(ZelvoPicture(4, 4));
    ASSERT_NE(copy, nullptr);
    const auto target = copy->makeRenderTarget();
    mapping = backend.map(*target);
  }
  poke(mapping.planes.y, 42);
  poke(mapping.planes.uv + mapping.planes.uvPitch + 3, 43);
  EXPECT_EQ(peek(mapping.planes.y), 42);
  EXPECT_EQ(peek(mapping.planes.uv + mapping.planes.uvPitch + 3), 43);
  EXPECT_EQ(backend.liveMappings(), 1u);
}

TEST_F(Backend, AGuardMayOutliveItsBackend) {
  ZelvoPicture picture(2, 2);
  const auto target = picture.makeRenderTarget();
  IRenderBackend::Mapping mapping;
  {
    DeviceRenderBackend backend(nullptr);
    mapping = backend.map(*target);
  }
  EXPECT_TRUE(mapping.guard.holds());
}

}  // namespace
