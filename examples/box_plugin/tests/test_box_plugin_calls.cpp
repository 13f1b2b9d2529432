#include "cudart_cpu/control.h"
#include "tests/box_host.h"

namespace {

using cudart_cpu::Call;

/// A frame whose writable copy is there already: making it takes calls of the picture pool's own.
class BoxPluginCalls : public BoxPluginTest {
 protected:
  void SetUp() override {
    BoxPluginTest::SetUp();
    frame_.emplace(4, 4, R"({"x": 0, "y": 0, "w": 4, "h": 4})", stream_);
    frame_->context.picture.ensureWritablePicShared();
    cudart_cpu::resetCounters();
  }

  void TearDown() override {
    frame_.reset();
    BoxPluginTest::TearDown();
  }

  cudart_cpu::ScopedReset reset_;
  std::optional<Frame> frame_;
};

const Picture kOutline = {{"aaaa", "a..a", "a..a", "aaaa"}, {"aa", "aa"}};

TEST_F(BoxPluginCalls, QueuesFillsOnTheMappedStreamAndNeverWaits) {
  cudart_cpu::recordCalls(true);
  cudart_cpu::hold(stream_);
  plugin_->render(frame_->context);
  const std::vector<cudart_cpu::RecordedCall> calls = cudart_cpu::recordedCalls();
  // Each of the four edges: its luma, and U and V of its one line of chroma samples.
  EXPECT_EQ(calls.size(), 12U);
  for (const cudart_cpu::RecordedCall& call : calls) {
    EXPECT_EQ(call.call, Call::cudaMemset2DAsync);
    EXPECT_EQ(call.stream, stream_);
    EXPECT_EQ(call.result, cudaSuccess);
  }
  EXPECT_EQ(cudart_cpu::heldWork(stream_), 12U);
  cudart_cpu::release(stream_);
  EXPECT_EQ(frame_->picture(), kOutline);
}

TEST_F(BoxPluginCalls, ASkippedFrameMakesNoCall) {
  Frame empty(4, 4, "", stream_);
  cudart_cpu::resetCounters();
  plugin_->render(empty.context);
  EXPECT_EQ(cudart_cpu::totalCalls(), 0U);
}

TEST_F(BoxPluginCalls, AFillThatTheDeviceRefusesIsLeftOut) {
  cudart_cpu::failCall(Call::cudaMemset2DAsync, 1, cudaErrorLaunchFailure);  // the upper edge's luma
  EXPECT_NO_THROW(plugin_->render(frame_->context));
  EXPECT_EQ(frame_->picture(), (Picture{{"a..a", "a..a", "a..a", "aaaa"}, {"aa", "aa"}}));
}

}  // namespace
