#include "tests/cuda/device_image.h"

#include <cxxabi.h>
#include <elf.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace device_image {
namespace {

/// A container: this header, then images.
struct ContainerHeader {
  std::uint32_t magic;
  std::uint16_t version;
  std::uint16_t headerSize;
  std::uint64_t contentSize;
};

/// An image: this header and more fields, `headerSize` bytes in all, then the code.
struct ImageHeader {
  std::uint16_t kind;
  std::uint16_t version;
  std::uint32_t headerSize;
  std::uint64_t contentSize;
  std::uint32_t unused[3];
  std::uint32_t architecture;
};

constexpr std::uint32_t kContainerMagic = 0xBA55ED50;
constexpr std::uint16_t kMachineCode = 2;
constexpr std::size_t kContainerAlignment = 8;

// Machine code is an ELF file. Its section ".nv.info" lists attributes of functions by their symbol's index,
// ".nv.info.<symbol>" those of one kernel. An attribute is a format byte, a code byte and 16 bits, which are
// the size of the value that follows if the format is kSizedValue and the value itself otherwise.
constexpr unsigned char kSizedValue = 4;
constexpr unsigned char kFrameSize = 0x11;        // of a function: symbol index, bytes
constexpr unsigned char kMinStackSize = 0x12;     // of a function: symbol index, bytes
constexpr unsigned char kKernelParameter = 0x17;  // of a kernel, see ParameterAttribute
constexpr unsigned char kRegisterCount = 0x2f;    // of a function: symbol index, registers

struct FunctionAttribute {
  std::uint32_t symbolIndex;
  std::uint32_t value;
};

struct ParameterAttribute {
  std::uint32_t index;
  std::uint16_t ordinal;
  std::uint16_t offset;
  std::uint32_t flags;  // the size, from bit 18 on

  std::uint16_t size() const { return static_cast<std::uint16_t>(flags >> 18); }
};

template <class T>
T readAt(std::string_view bytes, std::size_t offset) {
  T value;
  if (offset > bytes.size() || bytes.size() - offset < sizeof value) throw std::runtime_error("cut short");
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

std::string_view cut(std::string_view bytes, std::size_t offset, std::size_t size) {
  if (offset > bytes.size() || bytes.size() - offset < size) throw std::runtime_error("cut short");
  return bytes.substr(offset, size);
}

std::string textAt(std::string_view strings, std::size_t offset) {
  const std::string_view text = cut(strings, offset, strings.size() - std::min(offset, strings.size()));
  return std::string(text.substr(0, text.find('\0')));
}

/// Calls handle(code, value) for each attribute that has a value of its own size.
template <class Handle>
void forEachAttribute(std::string_view info, Handle handle) {
  std::size_t at = 0;
  while (at < info.size()) {
    const auto format = readAt<unsigned char>(info, at);
    const auto code = readAt<unsigned char>(info, at + 1);
    const auto size = readAt<std::uint16_t>(info, at + 2);
    at += 4;
    if (format != kSizedValue) continue;
    handle(code, cut(info, at, size));
    at += size;
  }
}

std::string_view sectionNamed(const std::vector<Section>& sections, std::string_view name) {
  for (const Section& section : sections) {
    if (section.name == name) return section.bytes;
  }
  throw std::runtime_error("no section " + std::string(name));
}

bool hasSection(const std::vector<Section>& sections, const std::string& name) {
  return std::any_of(sections.begin(), sections.end(),
                     [&](const Section& section) { return section.name == name; });
}

std::string symbolNamed(const std::vector<Section>& sections, std::size_t index) {
  const auto symbol = readAt<Elf64_Sym>(sectionNamed(sections, ".symtab"), index * sizeof(Elf64_Sym));
  return textAt(sectionNamed(sections, ".strtab"), symbol.st_name);
}

std::vector<Parameter> parametersOf(std::string_view kernelInfo) {
  std::vector<Parameter> parameters;
  forEachAttribute(kernelInfo, [&](unsigned char code, std::string_view value) {
    if (code != kKernelParameter) return;
    const auto attribute = readAt<ParameterAttribute>(value, 0);
    if (parameters.size() <= attribute.ordinal) parameters.resize(attribute.ordinal + 1U);
    parameters[attribute.ordinal] = {attribute.offset, attribute.size()};
  });
  return parameters;
}

void readFunctionAttributes(const std::vector<Section>& sections, std::vector<Kernel>& kernels) {
  forEachAttribute(sectionNamed(sections, ".nv.info"), [&](unsigned char code, std::string_view value) {
    if (code != kFrameSize && code != kMinStackSize && code != kRegisterCount) return;
    const auto attribute = readAt<FunctionAttribute>(value, 0);
    const std::string symbol = symbolNamed(sections, attribute.symbolIndex);
    for (Kernel& kernel : kernels) {
      if (kernel.symbol != symbol) continue;
      if (code == kFrameSize) kernel.frameBytes = attribute.value;
      if (code == kMinStackSize) kernel.stackBytes = attribute.value;
      if (code == kRegisterCount) kernel.registers = attribute.value;
    }
  });
}

std::vector<Kernel> kernelsOf(std::string_view machineCode) {
  constexpr std::string_view kKernelInfo = ".nv.info.";
  const std::vector<Section> sections = sectionsOf(machineCode);
  std::vector<Kernel> kernels;
  for (const Section& section : sections) {
    if (section.name.compare(0, kKernelInfo.size(), kKernelInfo) != 0) continue;
    Kernel kernel;
    kernel.symbol = section.name.substr(kKernelInfo.size());
    kernel.parameters = parametersOf(section.bytes);
    kernel.hasSharedMemory = hasSection(sections, ".nv.shared." + kernel.symbol);
    kernel.hasLocalMemory = hasSection(sections, ".nv.local." + kernel.symbol);
    kernels.push_back(std::move(kernel));
  }
  readFunctionAttributes(sections, kernels);
  return kernels;
}

void readImages(std::string_view content, std::vector<Image>& images) {
  std::size_t at = 0;
  while (at < content.size()) {
    const auto header = readAt<ImageHeader>(content, at);
    const bool isMachineCode = header.kind == kMachineCode;
    const std::string_view code = cut(content, at + header.headerSize, header.contentSize);
    images.push_back(
        {isMachineCode, header.architecture, isMachineCode ? kernelsOf(code) : std::vector<Kernel>{}});
    at += header.headerSize + header.contentSize;
  }
}

}  // namespace

std::vector<Image> imagesOf(std::string_view bytes) {
  std::vector<Image> images;
  std::size_t at = 0;
  while (at < bytes.size()) {
    const auto header = readAt<ContainerHeader>(bytes, at);
    if (header.magic != kContainerMagic) {
      at += kContainerAlignment;  // between containers
      continue;
    }
    readImages(cut(bytes, at + header.headerSize, header.contentSize), images);
    at += header.headerSize + header.contentSize;
  }
  return images;
}

std::string_view containerAt(const void* address) {
  const auto* bytes = static_cast<const char*>(address);
  const auto header = readAt<ContainerHeader>({bytes, sizeof(ContainerHeader)}, 0);
  if (header.magic != kContainerMagic) throw std::runtime_error("no container of device code");
  return {bytes, header.headerSize + header.contentSize};
}

std::vector<Section> sectionsOf(std::string_view elf) {
  if (elf.substr(0, SELFMAG) != ELFMAG) throw std::runtime_error("no ELF file");
  const auto header = readAt<Elf64_Ehdr>(elf, 0);
  const auto sectionAt = [&](std::size_t i) {
    return readAt<Elf64_Shdr>(elf, header.e_shoff + i * header.e_shentsize);
  };
  const Elf64_Shdr names = sectionAt(header.e_shstrndx);
  std::vector<Section> sections;
  for (std::size_t i = 0; i < header.e_shnum; ++i) {
    const Elf64_Shdr section = sectionAt(i);
    const bool inFile = section.sh_type != SHT_NOBITS;
    sections.push_back({textAt(cut(elf, names.sh_offset, names.sh_size), section.sh_name),
                        inFile ? cut(elf, section.sh_offset, section.sh_size) : std::string_view()});
  }
  return sections;
}

std::string demangled(const std::string& symbol) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), &std::free);
  return status == 0 ? name.get() : symbol;
}

}  // namespace device_image
