#include <functional>
#include <stdexcept>
#include <string>

#include "tests/cpu_fixture.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/guard_bytes.h"

namespace {

using cudart_cpu::Call;
using cudart_cpu::RecordedCall;
using zelvo::ZelvoPicture;
using zelvo::ZelvoPicturePool;

class Failures : public SteeredDeviceTest {
 protected:
  /// What the exception says that ends the work.
  static std::string messageOf(const std::function<void()>& work) {
    try {
      work();
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "nothing was thrown";
  }

  /// Runs `work` once for each call that it makes when all goes well, with just that call failing.
  static void failEachCallOf(const std::function<void()>& wellDone, const std::function<void()>& work) {
    cudart_cpu::resetCounters();
    cudart_cpu::recordCalls(true);
    wellDone();
    cudart_cpu::recordCalls(false);
    const std::vector<RecordedCall> calls = cudart_cpu::recordedCalls();
    ASSERT_FALSE(calls.empty());
    for (std::size_t i = 0; i < calls.size(); ++i) {
      unsigned nth = 0;
      for (std::size_t before = 0; before <= i; ++before) nth += calls[before].call == calls[i].call ? 1 : 0;
      SCOPED_TRACE(std::string(cudart_cpu::callName(calls[i].call)) + " number " + std::to_string(nth));
      cudart_cpu::failCall(calls[i].call, nth, cudaErrorLaunchFailure);
      work();
      cudart_cpu::clearFailures();
    }
  }
};

TEST_F(Failures, AllocatingAPictureThrowsAndLeaksNothing) {
  std::unique_ptr<ZelvoPicture> picture;
  const auto allocate = [&] { picture = std::make_unique<ZelvoPicture>(5, 3); };
  const auto tryToAllocate = [&] {
    picture.reset();
    const std::string message = messageOf(allocate);
    EXPECT_NE(message.find("cudaErrorLaunchFailure"), std::string::npos) << message;
    EXPECT_EQ(cudart_cpu::liveAllocations().count, 0u);
  };
  // The first picture goes before the failures begin: freeing it is no part of allocating.
  failEachCallOf(
      [&] {
        allocate();
        cudart_cpu::recordCalls(false);
        picture.reset();
      },
      tryToAllocate);
}

TEST_F(Failures, ACloneThatCannotBeMadeIsNullAndLeaksNothing) {
  const ZelvoPicture source(5, 3);
  const cudart_cpu::LiveAllocations before = cudart_cpu::liveAllocations();
  failEachCallOf(
      [&] {
        ZelvoPicturePool pool;
        const auto copy = pool.clone(source);
        EXPECT_NE(copy, nullptr);
        cudart_cpu::recordCalls(false);
      },
      [&] {
        {
          ZelvoPicturePool pool;
          EXPECT_EQ(pool.clone(source), nullptr);
        }
        EXPECT_EQ(cudart_cpu::liveAllocations().count, before.count);
        EXPECT_EQ(cudart_cpu::liveAllocations().bytes, before.bytes);
      });
}

TEST_F(Failures, APoolWorksAgainAfterAFailedCopy) {
  ZelvoPicturePool pool;
  const ZelvoPicture source(5, 3);
  cudart_cpu::failCall(Call::cudaMemcpy2DAsync, 2, cudaErrorLaunchFailure);
  EXPECT_EQ(pool.clone(source), nullptr);
  EXPECT_EQ(pool.idleBuffers(), 1u);
  EXPECT_NE(pool.clone(source), nullptr);
}

TEST_F(Failures, OutOfDeviceMemoryIsNamed) {
  cudart_cpu::failCall(Call::cudaMalloc, 2, cudaErrorMemoryAllocation);
  EXPECT_EQ(messageOf([] { const ZelvoPicture picture(5, 3); }),
            "allocating a picture plane: cudaErrorMemoryAllocation");
}

TEST_F(Failures, AFailedUploadNamesTheError) {
  const Bytes frame = randomFrame({5, 3}, 1);
  ZelvoPicture picture(5, 3);
  const auto upload = [&] { zelvo::upload(picture, frame.data(), nullptr); };
  failEachCallOf(upload,
                 [&] { EXPECT_EQ(messageOf(upload), "uploading a picture: cudaErrorLaunchFailure"); });
}

TEST_F(Failures, AFailedDownloadNamesTheErrorAndWritesNoMore) {
  const ZelvoPicture picture(5, 3);
  Bytes frame(zelvo::packedNv12Bytes(5, 3));
  const auto download = [&] { zelvo::download(picture, frame.data(), nullptr); };
  failEachCallOf(download, [&] {
    const std::uint64_t waits = cudart_cpu::count(Call::cudaStreamSynchronize);
    EXPECT_EQ(messageOf(download), "downloading a picture: cudaErrorLaunchFailure");
    EXPECT_EQ(cudart_cpu::count(Call::cudaStreamSynchronize), waits + 1);
  });
}

TEST_F(Failures, GuardBytesThatCannotBeReadAreNotReported) {
  if (!zelvo::guardBytesEnabled()) GTEST_SKIP() << "built without guard bytes (SEG_MASK_GUARD_BYTES)";
  static int reports;
  reports = 0;
  zelvo::setGuardReport([](const std::string&) { ++reports; });
  for (const Call call : {Call::cudaDeviceSynchronize, Call::cudaMemcpy}) {
    SCOPED_TRACE(cudart_cpu::callName(call));
    const std::uint64_t before = cudart_cpu::count(call);
    {
      const ZelvoPicture picture(5, 3);
      cudart_cpu::failCall(call, 1, cudaErrorLaunchFailure);
    }
    EXPECT_GT(cudart_cpu::count(call), before);
  }
  zelvo::setGuardReport(nullptr);
  EXPECT_EQ(reports, 0);
}

}  // namespace
