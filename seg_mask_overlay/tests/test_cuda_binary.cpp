// What device code the built plug-in holds: machine code for the architectures asked for, and no PTX, which
// would be compiled again on the board at every start. Looks into the binary, so no GPU is needed.

#include <elf.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<char>;

template <class T>
T readAt(const Bytes& bytes, std::size_t offset) {
  T value;
  if (offset + sizeof value > bytes.size()) throw std::out_of_range("truncated binary");
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

Bytes fileBytes(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The contents of a 64-bit ELF file's section; empty when it has none of that name.
Bytes sectionOf(const Bytes& elf, const std::string& name) {
  const auto header = readAt<Elf64_Ehdr>(elf, 0);
  const auto sectionAt = [&](std::size_t i) {
    return readAt<Elf64_Shdr>(elf, header.e_shoff + i * header.e_shentsize);
  };
  const Elf64_Shdr names = sectionAt(header.e_shstrndx);
  for (std::size_t i = 0; i < header.e_shnum; ++i) {
    const Elf64_Shdr section = sectionAt(i);
    if (name != elf.data() + names.sh_offset + section.sh_name) continue;
    const auto begin = elf.begin() + static_cast<std::ptrdiff_t>(section.sh_offset);
    return {begin, begin + static_cast<std::ptrdiff_t>(section.sh_size)};
  }
  return {};
}

struct Image {
  bool isMachineCode;  ///< else PTX
  unsigned architecture;
};

/// The images of a .nv_fatbin section: containers (magic, 16-bit version, header size, 64-bit content size),
/// each with images (16-bit kind, 16-bit version, 32-bit header size, 64-bit content size, ..., architecture
/// at byte 28).
std::vector<Image> imagesOf(const Bytes& section) {
  constexpr uint32_t kContainerMagic = 0xBA55ED50;
  constexpr uint16_t kMachineCode = 2;
  std::vector<Image> images;
  std::size_t at = 0;
  while (at + 16 <= section.size()) {
    if (readAt<uint32_t>(section, at) != kContainerMagic) {
      at += 8;  // containers are padded
      continue;
    }
    std::size_t image = at + readAt<uint16_t>(section, at + 6);
    const std::size_t end = image + readAt<uint64_t>(section, at + 8);
    while (image < end) {
      images.push_back(
          {readAt<uint16_t>(section, image) == kMachineCode, readAt<uint32_t>(section, image + 28)});
      image += readAt<uint32_t>(section, image + 4) + readAt<uint64_t>(section, image + 8);
    }
    at = end;
  }
  return images;
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

TEST(CudaBinary, HoldsMachineCodeForTheArchitecturesAskedForAndNoPtx) {
  const std::vector<Image> images = imagesOf(sectionOf(fileBytes(SEG_MASK_PLUGIN), ".nv_fatbin"));
  std::set<unsigned> found;
  for (const Image& image : images) {
    EXPECT_TRUE(image.isMachineCode) << "PTX for compute capability " << image.architecture;
    found.insert(image.architecture);
  }
  EXPECT_EQ(found, realArchitectures(SEG_MASK_CUDA_ARCHITECTURES));
}

}  // namespace
