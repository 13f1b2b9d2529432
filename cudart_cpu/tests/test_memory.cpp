#include <cstdint>
#include <limits>

#include "tests/cudart_fixture.h"

namespace {

class Memory : public CudartTest {};

constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();

TEST_F(Memory, AllocationsAreAlignedAndCounted) {
  void* first = nullptr;
  unsigned char* second = nullptr;
  ASSERT_EQ(cudaMalloc(&first, 1), cudaSuccess);
  ASSERT_EQ(cudaMalloc(&second, 1000), cudaSuccess);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % 256, 0u);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(second) % 256, 0u);
  EXPECT_EQ(cudart_cpu::liveAllocations().count, 2u);
  EXPECT_EQ(cudart_cpu::liveAllocations().bytes, 1001u);
  EXPECT_EQ(cudaFree(first), cudaSuccess);
  EXPECT_EQ(cudart_cpu::liveAllocations().bytes, 1000u);
  EXPECT_EQ(cudaFree(second), cudaSuccess);
}

TEST_F(Memory, FreshMemoryIsJunkAndNotZero) {
  const Buffer buffer(64);
  Bytes seen(64, 0);
  ASSERT_EQ(cudaMemcpy(seen.data(), buffer.get(), 64, cudaMemcpyDeviceToHost), cudaSuccess);
  EXPECT_EQ(seen, Bytes(64, 0xCD));
}

TEST_F(Memory, AllocatingNothingGivesNull) {
  int anything = 0;
  void* memory = &anything;
  EXPECT_EQ(cudaMalloc(&memory, 0), cudaSuccess);
  EXPECT_EQ(memory, nullptr);
}

TEST_F(Memory, AllocatingNeedsAPlaceForTheAddress) {
  EXPECT_EQ(cudaMalloc(static_cast<void**>(nullptr), 1), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMalloc(static_cast<unsigned char**>(nullptr), 1), cudaErrorInvalidValue);
}

TEST_F(Memory, AllocatingMoreThanTheDeviceHasStoresNothing) {
  int anything = 0;
  void* memory = &anything;
  EXPECT_EQ(cudaMalloc(&memory, kHuge), cudaErrorMemoryAllocation);
  EXPECT_EQ(cudaMalloc(&memory, (std::size_t{16} << 30) + 1), cudaErrorMemoryAllocation);
  EXPECT_EQ(memory, &anything);
}

TEST_F(Memory, FreeRefusesWhatItDidNotGive) {
  unsigned char* memory = nullptr;
  ASSERT_EQ(cudaMalloc(&memory, 16), cudaSuccess);
  int host = 0;
  EXPECT_EQ(cudaFree(&host), cudaErrorInvalidValue);
  EXPECT_EQ(cudaFree(memory + 1), cudaErrorInvalidValue);
  EXPECT_EQ(cudaFree(memory), cudaSuccess);
  EXPECT_EQ(cudaFree(memory), cudaErrorInvalidValue);
  EXPECT_EQ(cudaFree(nullptr), cudaSuccess);
}

TEST_F(Memory, BytesMakeTheRoundTrip) {
  const Buffer first(5);
  const Buffer second(5);
  const Bytes sent = {1, 2, 3, 4, 5};
  Bytes received(5);
  EXPECT_EQ(cudaMemcpy(first.get(), sent.data(), 5, cudaMemcpyHostToDevice), cudaSuccess);
  EXPECT_EQ(cudaMemcpyAsync(second.get(), first.get(), 5, cudaMemcpyDeviceToDevice, nullptr), cudaSuccess);
  EXPECT_EQ(cudaMemcpyAsync(received.data(), second.get(), 5, cudaMemcpyDefault), cudaSuccess);
  EXPECT_EQ(received, sent);
}

TEST_F(Memory, ACopyMayNotRunPastItsAllocation) {
  const Buffer buffer(8);
  Bytes host(16);
  EXPECT_EQ(cudaMemcpy(buffer.get(), host.data(), 9, cudaMemcpyHostToDevice), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpy(buffer.get() + 7, host.data(), 2, cudaMemcpyHostToDevice), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpy(buffer.get() + 7, host.data(), 1, cudaMemcpyHostToDevice), cudaSuccess);
  EXPECT_EQ(cudaMemcpyAsync(host.data(), buffer.get() + 1, 8, cudaMemcpyDeviceToHost), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpyAsync(buffer.get(), host.data(), kHuge, cudaMemcpyHostToDevice), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemsetAsync(buffer.get() + 4, 0, 5), cudaErrorInvalidValue);
}

TEST_F(Memory, ACopyMustNameEachSideRight) {
  const Buffer buffer(4);
  Bytes host(4);
  EXPECT_EQ(cudaMemcpy(buffer.get(), host.data(), 4, cudaMemcpyDeviceToHost), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpy(host.data(), host.data(), 4, cudaMemcpyHostToDevice), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpy(buffer.get(), buffer.get(), 4, cudaMemcpyHostToDevice), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpy(buffer.get(), host.data(), 4, cudaMemcpyDeviceToDevice), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpy(buffer.get(), host.data(), 4, cudaMemcpyHostToHost), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpy(nullptr, host.data(), 4, cudaMemcpyHostToHost), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpy(host.data(), nullptr, 4, cudaMemcpyDefault), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpy(buffer.get(), host.data(), 4, static_cast<cudaMemcpyKind>(5)),
            cudaErrorInvalidMemcpyDirection);
  EXPECT_EQ(cudaMemsetAsync(host.data(), 0, 4), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemset2DAsync(host.data(), 2, 0, 2, 2), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemset2DAsync(nullptr, 2, 0, 2, 2), cudaErrorInvalidValue);
}

TEST_F(Memory, AFreedAddressIsNoDeviceMemory) {
  unsigned char* memory = nullptr;
  ASSERT_EQ(cudaMalloc(&memory, 4), cudaSuccess);
  ASSERT_EQ(cudaFree(memory), cudaSuccess);
  Bytes host(4);
  EXPECT_EQ(cudaMemcpy(memory, host.data(), 4, cudaMemcpyHostToDevice), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpyAsync(host.data(), memory, 4, cudaMemcpyDeviceToHost), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemsetAsync(memory, 0, 4), cudaErrorInvalidValue);
}

TEST_F(Memory, CopyingNothingSucceeds) {
  EXPECT_EQ(cudaMemcpy(nullptr, nullptr, 0, cudaMemcpyHostToDevice), cudaSuccess);
  EXPECT_EQ(cudaMemcpyAsync(nullptr, nullptr, 0, cudaMemcpyHostToDevice), cudaSuccess);
  EXPECT_EQ(cudaMemcpy2DAsync(nullptr, 4, nullptr, 4, 0, 3, cudaMemcpyHostToDevice), cudaSuccess);
  EXPECT_EQ(cudaMemcpy2DAsync(nullptr, 4, nullptr, 4, 4, 0, cudaMemcpyHostToDevice), cudaSuccess);
  EXPECT_EQ(cudaMemsetAsync(nullptr, 0, 0), cudaSuccess);
  EXPECT_EQ(cudaMemset2DAsync(nullptr, 4, 0, 0, 3), cudaSuccess);
  EXPECT_EQ(cudaMemset2DAsync(nullptr, 4, 0, 4, 0), cudaSuccess);
}

TEST_F(Memory, FillTakesTheLowByte) {
  const Buffer buffer(4);
  Bytes seen(4);
  EXPECT_EQ(cudaMemsetAsync(buffer.get() + 1, 0x1207, 2), cudaSuccess);
  EXPECT_EQ(cudaMemcpy(seen.data(), buffer.get(), 4, cudaMemcpyDeviceToHost), cudaSuccess);
  EXPECT_EQ(seen, (Bytes{0xCD, 7, 7, 0xCD}));
}

TEST_F(Memory, FillOfRowsLeavesThePaddingAlone) {
  const Buffer buffer(8);
  Bytes seen(8);
  EXPECT_EQ(cudaMemset2DAsync(buffer.get() + 1, 3, 0x1207, 2, 2), cudaSuccess);
  EXPECT_EQ(cudaMemcpy(seen.data(), buffer.get(), 8, cudaMemcpyDeviceToHost), cudaSuccess);
  EXPECT_EQ(seen, (Bytes{0xCD, 7, 7, 0xCD, 7, 7, 0xCD, 0xCD}));
  EXPECT_EQ(cudaMemset2DAsync(buffer.get(), 2, 9, 1, 4), cudaSuccess);  // every other byte
  EXPECT_EQ(cudaMemcpy(seen.data(), buffer.get(), 8, cudaMemcpyDeviceToHost), cudaSuccess);
  EXPECT_EQ(seen, (Bytes{9, 7, 9, 0xCD, 9, 7, 9, 0xCD}));
}

TEST_F(Memory, FilledRowsMustFitTheirPitchAndTheirAllocation) {
  const Buffer buffer(8);
  EXPECT_EQ(cudaMemset2DAsync(buffer.get(), 1, 0, 2, 2), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemset2DAsync(buffer.get(), 1, 0, 2, 1), cudaSuccess);
  // The last row may end with the allocation: 6 + 2 bytes; one row or one byte more may not.
  EXPECT_EQ(cudaMemset2DAsync(buffer.get(), 6, 0, 2, 2), cudaSuccess);
  EXPECT_EQ(cudaMemset2DAsync(buffer.get(), 7, 0, 2, 2), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemset2DAsync(buffer.get(), 6, 0, 2, 3), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemset2DAsync(buffer.get(), kHuge, 0, 2, 3), cudaErrorInvalidValue);
}

TEST_F(Memory, RowsLeaveThePaddingAlone) {
  const Buffer buffer(8);  // two rows of two bytes, 5 apart, and one byte more
  const Bytes sent = {1, 2, 0, 3, 4};
  ASSERT_EQ(cudaMemcpy2DAsync(buffer.get(), 5, sent.data(), 3, 2, 2, cudaMemcpyHostToDevice), cudaSuccess);
  Bytes seen(8);
  ASSERT_EQ(cudaMemcpy(seen.data(), buffer.get(), 8, cudaMemcpyDeviceToHost), cudaSuccess);
  EXPECT_EQ(seen, (Bytes{1, 2, 0xCD, 0xCD, 0xCD, 3, 4, 0xCD}));
  Bytes packed(4);
  ASSERT_EQ(cudaMemcpy2DAsync(packed.data(), 2, buffer.get(), 5, 2, 2, cudaMemcpyDeviceToHost), cudaSuccess);
  EXPECT_EQ(packed, (Bytes{1, 2, 3, 4}));
}

TEST_F(Memory, RowsMustFitTheirPitchAndTheirAllocation) {
  const Buffer buffer(8);
  Bytes host(64);
  const auto toDevice = cudaMemcpyHostToDevice;
  EXPECT_EQ(cudaMemcpy2DAsync(buffer.get(), 1, host.data(), 2, 2, 2, toDevice), cudaErrorInvalidPitchValue);
  EXPECT_EQ(cudaMemcpy2DAsync(buffer.get(), 2, host.data(), 1, 2, 2, toDevice), cudaErrorInvalidPitchValue);
  // The last row may end with the allocation: 6 + 2 bytes; one row or one byte more may not.
  EXPECT_EQ(cudaMemcpy2DAsync(buffer.get(), 6, host.data(), 2, 2, 2, toDevice), cudaSuccess);
  EXPECT_EQ(cudaMemcpy2DAsync(buffer.get(), 7, host.data(), 2, 2, 2, toDevice), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpy2DAsync(buffer.get(), 6, host.data(), 2, 2, 3, toDevice), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpy2DAsync(buffer.get(), kHuge, host.data(), 2, 2, 3, toDevice), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpy2DAsync(buffer.get(), kHuge, host.data(), kHuge, kHuge, 2, toDevice),
            cudaErrorInvalidValue);
}

TEST_F(Memory, PinnedAllocationsAreHostMemoryAndCountedApart) {
  void* pinned = nullptr;
  ASSERT_EQ(cudaHostAlloc(&pinned, 100, cudaHostAllocDefault), cudaSuccess);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pinned) % 256, 0u);
  EXPECT_EQ(*static_cast<unsigned char*>(pinned), 0xCD) << "fresh memory is junk";
  EXPECT_EQ(cudart_cpu::liveAllocations().count, 0u);
  EXPECT_EQ(cudart_cpu::livePinnedAllocations().count, 1u);
  EXPECT_EQ(cudart_cpu::livePinnedAllocations().bytes, 100u);
  EXPECT_EQ(cudaMemsetAsync(pinned, 0, 1), cudaErrorInvalidValue) << "not the device's";
  EXPECT_EQ(cudaFreeHost(pinned), cudaSuccess);
  EXPECT_EQ(cudart_cpu::livePinnedAllocations().count, 0u);
}

TEST_F(Memory, PinningRefusesWhatItCannotDo) {
  int anything = 0;
  void* memory = &anything;
  EXPECT_EQ(cudaHostAlloc(nullptr, 1, cudaHostAllocDefault), cudaErrorInvalidValue);
  EXPECT_EQ(cudaHostAlloc(&memory, 1, 1), cudaErrorInvalidValue);
  EXPECT_EQ(cudaHostAlloc(&memory, kHuge, cudaHostAllocDefault), cudaErrorMemoryAllocation);
  EXPECT_EQ(memory, &anything);
  EXPECT_EQ(cudaHostAlloc(&memory, 0, cudaHostAllocDefault), cudaSuccess);
  EXPECT_EQ(memory, nullptr);
}

TEST_F(Memory, EachKindIsFreedByItsOwnCall) {
  const Buffer device(4);
  const PinnedBuffer pinned(4);
  int host = 0;
  EXPECT_EQ(cudaFreeHost(device.get()), cudaErrorInvalidValue);
  EXPECT_EQ(cudaFree(pinned.get()), cudaErrorInvalidValue);
  EXPECT_EQ(cudaFreeHost(&host), cudaErrorInvalidValue);
  EXPECT_EQ(cudaFreeHost(pinned.get() + 1), cudaErrorInvalidValue);
  EXPECT_EQ(cudaFreeHost(nullptr), cudaSuccess);
}

TEST_F(Memory, ACopyMayNotRunPastPinnedMemoryEither) {
  const Buffer device(8);
  const PinnedBuffer pinned(4);
  EXPECT_EQ(cudaMemcpyAsync(device.get(), pinned.get(), 5, cudaMemcpyHostToDevice), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpyAsync(pinned.get() + 1, device.get(), 4, cudaMemcpyDeviceToHost),
            cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpyAsync(device.get(), pinned.get(), 4, cudaMemcpyDeviceToDevice), cudaErrorInvalidValue);
  EXPECT_EQ(cudaMemcpyAsync(device.get(), pinned.get(), 4, cudaMemcpyHostToDevice), cudaSuccess);
}

TEST_F(Memory, ACopyWithinAnAllocationMayOverlap) {
  const Buffer buffer(4);
  const Bytes sent = {1, 2, 3, 4};
  ASSERT_EQ(cudaMemcpy(buffer.get(), sent.data(), 4, cudaMemcpyHostToDevice), cudaSuccess);
  ASSERT_EQ(cudaMemcpy(buffer.get() + 1, buffer.get(), 3, cudaMemcpyDeviceToDevice), cudaSuccess);
  Bytes seen(4);
  ASSERT_EQ(cudaMemcpy(seen.data(), buffer.get(), 4, cudaMemcpyDeviceToHost), cudaSuccess);
  EXPECT_EQ(seen, (Bytes{1, 1, 2, 3}));
}

TEST_F(Memory, ThereIsOneDevice) {
  int devices = 0;
  EXPECT_EQ(cudaGetDeviceCount(&devices), cudaSuccess);
  EXPECT_EQ(devices, 1);
  EXPECT_EQ(cudaGetDeviceCount(nullptr), cudaErrorInvalidValue);
}

}  // namespace
