#pragma once

// What a CUDA compiler put into a program: reads device code and its tables, for which no GPU is needed.
//
// Every function throws std::runtime_error for bytes that are cut short or not of the format.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace device_image {

/// Where a parameter lies in the block of bytes that a kernel gets.
struct Parameter {
  std::uint16_t offset;
  std::uint16_t size;
};

inline bool operator==(const Parameter& a, const Parameter& b) {
  return a.offset == b.offset && a.size == b.size;
}

struct Kernel {
  std::string symbol;                 ///< its mangled name
  std::vector<Parameter> parameters;  ///< in the order of its signature
  std::optional<unsigned> registers;  ///< of a thread; none if the image does not say
  std::optional<unsigned>
      frameBytes;  ///< of local memory on a thread's stack; none if the image does not say
  std::optional<unsigned> stackBytes;  ///< the same with all functions that it calls
  bool hasSharedMemory = false;        ///< of a size fixed when it was compiled
  bool hasLocalMemory = false;         ///< outside the stack
};

/// Device code for one architecture.
struct Image {
  bool isMachineCode;           ///< else PTX
  unsigned architecture;        ///< compute capability times ten
  std::vector<Kernel> kernels;  ///< of machine code; none of PTX
};

/// The images of the containers that lie, one after another, in `bytes`: what the section .nv_fatbin holds.
std::vector<Image> imagesOf(std::string_view bytes);

/// The container that begins at `address`, whose own header says how long it is.
std::string_view containerAt(const void* address);

struct Section {
  std::string name;
  std::string_view bytes;  ///< empty for one that takes no room in the file
};

/// The sections of a 64-bit ELF file; they refer to `elf`.
std::vector<Section> sectionsOf(std::string_view elf);

/// A C++ symbol as the source spells it: "(anonymous namespace)::name(int)".
std::string demangled(const std::string& symbol);

}  // namespace device_image
