#include <cstring>
#include <set>
#include <string>
#include <thread>

#include "tests/cudart_fixture.h"

namespace {

class Errors : public CudartTest {};

TEST_F(Errors, TheLastErrorIsKeptUntilAskedFor) {
  EXPECT_EQ(cudaFree(this), cudaErrorInvalidValue);
  EXPECT_EQ(cudaFree(nullptr), cudaSuccess);
  EXPECT_EQ(cudaPeekAtLastError(), cudaErrorInvalidValue);
  EXPECT_EQ(cudaGetLastError(), cudaErrorInvalidValue);
  EXPECT_EQ(cudaGetLastError(), cudaSuccess);
}

TEST_F(Errors, EachThreadHasItsOwnLastError) {
  EXPECT_EQ(cudaFree(this), cudaErrorInvalidValue);
  cudaError_t other = cudaErrorUnknown;
  std::thread([&] { other = cudaPeekAtLastError(); }).join();
  EXPECT_EQ(other, cudaSuccess);
  EXPECT_EQ(cudaGetLastError(), cudaErrorInvalidValue);
}

TEST_F(Errors, NotReadyIsAnAnswerAndNoError) {
  cudart_cpu::hold(nullptr);
  ASSERT_EQ(cudaLaunchHostFunc(
                nullptr, [](void*) {}, nullptr),
            cudaSuccess);
  EXPECT_EQ(cudaStreamQuery(nullptr), cudaErrorNotReady);
  EXPECT_EQ(cudaGetLastError(), cudaSuccess);
}

TEST_F(Errors, EveryCodeHasANameAndATextOfItsOwn) {
  EXPECT_STREQ(cudaGetErrorName(cudaSuccess), "cudaSuccess");
  EXPECT_STREQ(cudaGetErrorName(cudaErrorMemoryAllocation), "cudaErrorMemoryAllocation");
  const cudaError_t codes[] = {cudaSuccess,
                               cudaErrorInvalidValue,
                               cudaErrorMemoryAllocation,
                               cudaErrorInitializationError,
                               cudaErrorInvalidPitchValue,
                               cudaErrorInvalidMemcpyDirection,
                               cudaErrorNoDevice,
                               cudaErrorInvalidResourceHandle,
                               cudaErrorNotReady,
                               cudaErrorIllegalAddress,
                               cudaErrorLaunchFailure,
                               cudaErrorNotPermitted,
                               cudaErrorUnknown};
  std::set<std::string> names;
  std::set<std::string> texts;
  for (const cudaError_t code : codes) {
    EXPECT_EQ(std::strncmp(cudaGetErrorName(code), "cuda", 4), 0) << code;
    names.insert(cudaGetErrorName(code));
    texts.insert(cudaGetErrorString(code));
  }
  EXPECT_EQ(names.size(), std::size(codes));
  EXPECT_EQ(texts.size(), std::size(codes));
}

TEST_F(Errors, OtherCodesAreUnrecognized) {
  EXPECT_STREQ(cudaGetErrorName(static_cast<cudaError_t>(1000)), "unrecognized error code");
  EXPECT_STREQ(cudaGetErrorString(static_cast<cudaError_t>(1000)), "unrecognized error code");
}

}  // namespace
