#pragma once

#include "cudart_cpu/control.h"
#include "tests/picture_fixture.h"

/// A test that steers the CPU's CUDA runtime; fails one that leaves device memory behind.
class SteeredDeviceTest : public DeviceTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(cudart_cpu::liveAllocations().count, 0u);
    EXPECT_EQ(cudart_cpu::liveAllocations().bytes, 0u);
  }

 private:
  cudart_cpu::ScopedReset reset_;
};
