// The plug-in's own device buffer when the device has no memory left.

#include <gtest/gtest.h>

#include "cudart_cpu/control.h"
#include "test_support/FrameContext.h"
#include "test_support/scene.h"
#include "test_support/scene_payload.h"
#include "tests/FrameMaskCompositorPeer.h"
#include "zelvo/DeviceRenderBackend.h"

namespace {

TEST(DeviceMask, AFailedEnlargementLeavesNeitherBufferNorBytes) {
  const cudart_cpu::ScopedReset reset;
  zelvo::DeviceRenderBackend backend(nullptr);
  SegMaskOverlayPlugin plugin;
  FrameMaskCompositorPeer fields{{plugin}};
  plugin.init({&backend});
  const auto renderSquare = [&](int side, bool without_memory) {
    plugin_test::FrameContext frame;
    frame.show(side, side, scene::patternFrame(side, side));
    frame.deliver("p", scene::payloadOf({scene::coverAll(side, side)}, scene::PayloadForm::object));
    frame.ctx.picture.ensureWritablePicShared();  // so that the next allocation is the plug-in's own
    if (without_memory) cudart_cpu::failCall(cudart_cpu::Call::cudaMalloc, 1, cudaErrorMemoryAllocation);
    plugin.render(frame.ctx);
  };
  renderSquare(4, false);
  EXPECT_NE(fields.deviceMask(), nullptr);
  EXPECT_EQ(fields.deviceMaskBytes(), 16U);
  renderSquare(5, true);
  EXPECT_EQ(fields.deviceMask(), nullptr);
  EXPECT_EQ(fields.deviceMaskBytes(), 0U);
}

}  // namespace
