// What device code each built library of the plug-in holds, or each CUDA source's object in a cross build:
// machine code for the architectures asked for, of its kernels and nothing else, and no PTX, which would be
// compiled again on the board at every start. Looks into the binary, so no GPU is needed.

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

/// A library and its kernels.
struct Binary {
  const char* name;
  const char* file;
  std::set<std::string> kernels;
  unsigned mostRegisters;           ///< of a thread
  unsigned mostRegistersOfOldOnes;  ///< the same up to compute capability 8.0
};

void PrintTo(const Binary& binary, std::ostream* out) {
  *out << binary.name;
}

// A multiprocessor has 65,536 registers, given out by eights, for at most 2,048 threads (8.6 to 8.9: 1,536).
// Up to 32 a thread, and up to 40 on those, registers never keep it from being full.
const Binary kBinaries[] = {
    {"FrameMask",
     SEG_MASK_CUDA_BINARY,
     {"(anonymous namespace)::segmask_uv_kernel(unsigned char*, int, unsigned char const*, int, int, int, "
      "int, "
      "int, int, int, unsigned char, unsigned char, float)",
      "(anonymous namespace)::segmask_y_kernel(unsigned char*, int, unsigned char const*, int, int, int, "
      "int, "
      "int, unsigned char, float)"},
     32,
     32},
    {"Fused",
     SEG_MASK_FUSED_CUDA_BINARY,
     {"(anonymous namespace)::segmask_fused_kernel(seg_mask_overlay::FusedFrame)"},
     40,
     56},
};

class CudaBinary : public ::testing::TestWithParam<Binary> {
 protected:
  static std::vector<Image> images() {
    std::ifstream file(GetParam().file, std::ios::binary);
    const std::string binary{std::istreambuf_iterator<char>(file), {}};
    for (const device_image::Section& section : device_image::sectionsOf(binary)) {
      if (section.name == ".nv_fatbin") return device_image::imagesOf(section.bytes);
    }
    return {};
  }
};

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

TEST_P(CudaBinary, IsForTheMachineThatTheTestsAreFor) {
  EXPECT_EQ(machineOf(GetParam().file), machineOf("/proc/self/exe"));
}

TEST_P(CudaBinary, HoldsMachineCodeForTheArchitecturesAskedForAndNoPtx) {
  std::set<unsigned> found;
  for (const Image& image : images()) {
    EXPECT_TRUE(image.isMachineCode) << "PTX for compute capability " << image.architecture;
    found.insert(image.architecture);
  }
  EXPECT_EQ(found, realArchitectures(SEG_MASK_CUDA_ARCHITECTURES));
}

TEST_P(CudaBinary, EachImageHoldsItsKernelsAndNoOther) {
  const std::vector<Image> all = images();
  ASSERT_FALSE(all.empty());
  for (const Image& image : all) {
    std::set<std::string> kernels;
    for (const Kernel& kernel : image.kernels) kernels.insert(device_image::demangled(kernel.symbol));
    EXPECT_EQ(kernels, GetParam().kernels);
  }
}

TEST_P(CudaBinary, KernelsLiveInRegistersAlone) {
  for (const Image& image : images()) {
    ASSERT_EQ(image.kernels.size(), GetParam().kernels.size());
    for (const Kernel& kernel : image.kernels) {
      SCOPED_TRACE(device_image::demangled(kernel.symbol));
      EXPECT_EQ(kernel.frameBytes, 0U);
      EXPECT_EQ(kernel.stackBytes, 0U);
      EXPECT_FALSE(kernel.hasLocalMemory);
      EXPECT_FALSE(kernel.hasSharedMemory);
      ASSERT_TRUE(kernel.registers.has_value());
      EXPECT_GT(*kernel.registers, 0U);
      EXPECT_LE(*kernel.registers,
                image.architecture > 80 ? GetParam().mostRegisters : GetParam().mostRegistersOfOldOnes);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Libraries, CudaBinary, ::testing::ValuesIn(kBinaries),
                         [](const auto& binary) { return std::string(binary.param.name); });

}  // namespace
