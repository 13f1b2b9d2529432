// What device code the built plug-in holds, or the CUDA source's object in a cross build: machine code for
// the architectures asked for, of both kernels and nothing else, and no PTX, which would be compiled again on
// the board at every start. Looks into the binary, so no GPU is needed.

#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/cuda/device_image.h"

namespace {

using device_image::Image;
using device_image::Kernel;

// An ELF file's processor: EM_AARCH64 and the like.
unsigned machineOf(const char* path) {
  Elf64_Ehdr header{};
  std::ifstream(path, std::ios::binary).read(reinterpret_cast<char*>(&header), sizeof header);
  return header.e_machine;
}

std::vector<Image> imagesOfTheBinary() {
  std::ifstream file(SEG_MASK_CUDA_BINARY, std::ios::binary);
  const std::string binary{std::istreambuf_iterator<char>(file), {}};
  for (const device_image::Section& section : device_image::sectionsOf(binary)) {
    if (section.name == ".nv_fatbin") return device_image::imagesOf(section.bytes);
  }
  return {};
}

/// "87-real;90-real" as {87, 90}; fails for an entry that asks for PTX too.
std::set<unsigned> realArchitectures(const std::string& list) {
  std::set<unsigned> architectures;
  std::istringstream entries(list);
  for (std::string entry; std::getline(entries, entry, ';');) {
    EXPECT_NE(entry.find("-real"), std::string::npos) << entry << " asks for PTX";
    architectures.insert(static_cast<unsigned>(std::stoul(entry)));
  }
  return architectures;
}

TEST(CudaBinary, IsForTheMachineThatTheTestsAreFor) {
  EXPECT_EQ(machineOf(SEG_MASK_CUDA_BINARY), machineOf("/proc/self/exe"));
}

TEST(CudaBinary, HoldsMachineCodeForTheArchitecturesAskedForAndNoPtx) {
  std::set<unsigned> found;
  for (const Image& image : imagesOfTheBinary()) {
    EXPECT_TRUE(image.isMachineCode) << "PTX for compute capability " << image.architecture;
    found.insert(image.architecture);
  }
  EXPECT_EQ(found, realArchitectures(SEG_MASK_CUDA_ARCHITECTURES));
}

TEST(CudaBinary, EachImageHoldsBothKernelsAndNoOther) {
  const std::vector<Image> images = imagesOfTheBinary();
  ASSERT_FALSE(images.empty());
  for (const Image& image : images) {
    std::set<std::string> kernels;
    for (const Kernel& kernel : image.kernels) kernels.insert(device_image::demangled(kernel.symbol));
    EXPECT_EQ(kernels, (std::set<std::string>{
                           "(anonymous namespace)::segmask_uv_kernel(unsigned char*, int, unsigned char "
                           "const*, int, int, int, int, int, int, int, unsigned char, unsigned char, float)",
                           "(anonymous namespace)::segmask_y_kernel(unsigned char*, int, unsigned char "
                           "const*, int, int, int, int, int, unsigned char, float)"}));
  }
}

// A multiprocessor has 65,536 registers for at most 2,048 threads (8.7: 1,536): up to 32 a thread, registers
// never keep it from being full.
TEST(CudaBinary, KernelsLiveInRegistersAlone) {
  for (const Image& image : imagesOfTheBinary()) {
    ASSERT_EQ(image.kernels.size(), 2U);
    for (const Kernel& kernel : image.kernels) {
      SCOPED_TRACE(device_image::demangled(kernel.symbol));
      EXPECT_EQ(kernel.frameBytes, 0U);
      EXPECT_EQ(kernel.stackBytes, 0U);
      EXPECT_FALSE(kernel.hasLocalMemory);
      EXPECT_FALSE(kernel.hasSharedMemory);
      ASSERT_TRUE(kernel.registers.has_value());
      EXPECT_GT(*kernel.registers, 0U);
      EXPECT_LE(*kernel.registers, 32U);
    }
  }
}

}  // namespace
