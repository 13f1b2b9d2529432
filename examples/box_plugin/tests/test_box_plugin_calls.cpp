#include "cudart_cpu/control.h"
#include "tests/box_fixture.h"

namespace {

using cudart_cpu::Call;

/// A frame whose writable copy is there already: making it takes calls of the picture pool's own.
class BoxPluginCalls : public BoxPluginTest {
 protected:
  void SetUp() override {
    BoxPluginTest::SetUp();
    frame_.emplace(sceneOf(4, 4, {box(0, 0, 4, 4)}), host_->stream());
    frame_->context().picture.ensureWritablePicShared();
    cudart_cpu::resetCounters();
  }

  void TearDown() override { frame_.reset(); }

  std::string picture() const { return lettersOf(frame_->pixels(), 4, 4); }

  cudart_cpu::ScopedReset reset_;
  std::optional<plugin_test::Frame> frame_;
};

TEST_F(BoxPluginCalls, QueuesFillsOnTheMappedStreamAndNeverWaits) {
  cudart_cpu::recordCalls(true);
  cudart_cpu::hold(host_->stream());
  host_->render(*frame_);
  const std::vector<cudart_cpu::RecordedCall> calls = cudart_cpu::recordedCalls();
  // Each of the four edges: its luma, and U and V of its one line of chroma samples.
  EXPECT_EQ(calls.size(), 12U);
  for (const cudart_cpu::RecordedCall& call : calls) {
    EXPECT_EQ(call.call, Call::cudaMemset2DAsync);
    EXPECT_EQ(call.stream, host_->stream());
    EXPECT_EQ(call.result, cudaSuccess);
  }
  EXPECT_EQ(cudart_cpu::heldWork(host_->stream()), 12U);
  cudart_cpu::release(host_->stream());
  EXPECT_EQ(picture(), "aaaa/a..a/a..a/aaaa aa/aa");
}

TEST_F(BoxPluginCalls, ASkippedFrameMakesNoCall) {
  plugin_test::Frame empty(sceneOf(4, 4, {}), host_->stream());
  cudart_cpu::resetCounters();
  host_->render(empty);
  EXPECT_EQ(cudart_cpu::totalCalls(), 0U);
}

TEST_F(BoxPluginCalls, AFillThatTheDeviceRefusesIsLeftOut) {
  cudart_cpu::failCall(Call::cudaMemset2DAsync, 1, cudaErrorLaunchFailure);  // the upper edge's luma
  EXPECT_NO_THROW(host_->render(*frame_));
  EXPECT_EQ(picture(), "a..a/a..a/a..a/aaaa aa/aa");
}

}  // namespace
