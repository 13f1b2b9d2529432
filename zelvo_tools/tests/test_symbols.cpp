// A symbol of binding "unique" keeps the library that has it mapped for ever, so libZelvoTools.so may have
// none.

#include <elf.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// A 64-bit ELF file of this machine's byte order.
class ElfFile {
 public:
  explicit ElfFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(file), {});
    header_ = at<Elf64_Ehdr>(0);
    const bool isElf = std::memcmp(header_.e_ident, ELFMAG, SELFMAG) == 0;
    if (!isElf || header_.e_ident[EI_CLASS] != ELFCLASS64)
      throw std::runtime_error("not a 64-bit ELF: " + path);
  }

  /// The dynamic symbols of one binding; every one is counted in `total`.
  std::vector<std::string> dynamicSymbols(unsigned char binding, std::size_t& total) const {
    std::vector<std::string> names;
    total = 0;
    for (std::size_t i = 0; i < header_.e_shnum; ++i) {
      const auto table = section(i);
      if (table.sh_type != SHT_DYNSYM) continue;
      const auto strings = section(table.sh_link);
      for (std::size_t offset = 0; offset < table.sh_size; offset += sizeof(Elf64_Sym)) {
        const auto symbol = at<Elf64_Sym>(table.sh_offset + offset);
        ++total;
        if (ELF64_ST_BIND(symbol.st_info) == binding)
          names.push_back(text(strings.sh_offset + symbol.st_name));
      }
    }
    return names;
  }

 private:
  template <class T>
  T at(std::size_t offset) const {
    if (offset + sizeof(T) > bytes_.size()) throw std::runtime_error("the ELF file is cut short");
    T value;
    std::memcpy(&value, bytes_.data() + offset, sizeof(T));
    return value;
  }
  Elf64_Shdr section(std::size_t index) const {
    return at<Elf64_Shdr>(header_.e_shoff + index * sizeof(Elf64_Shdr));
  }
  std::string text(std::size_t offset) const {
    std::string name;
    for (char c = at<char>(offset); c != '\0'; c = at<char>(++offset)) name.push_back(c);
    return name;
  }

  std::vector<char> bytes_;
  Elf64_Ehdr header_{};
};

TEST(Symbols, TheLibraryHasNoUniqueSymbol) {
  std::size_t total = 0;
  const auto unique = ElfFile(ZELVO_TOOLS_LIBRARY).dynamicSymbols(STB_GNU_UNIQUE, total);
  EXPECT_GT(total, 20u) << "the library offers more than that";
  EXPECT_EQ(unique, std::vector<std::string>{});
}

TEST(Symbols, AUniqueSymbolWouldBeFound) {
  std::size_t total = 0;
  const auto unique = ElfFile(UNIQUE_SYMBOL_LIBRARY).dynamicSymbols(STB_GNU_UNIQUE, total);
  EXPECT_EQ(unique, std::vector<std::string>{"zelvo_tools_unique_symbol"});
}

}  // namespace
