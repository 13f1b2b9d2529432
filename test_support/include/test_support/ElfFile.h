#pragma once

#include <elf.h>

#include <cstddef>
#include <string>
#include <vector>

/// A 64-bit ELF file of this machine's byte order, as it lies on the disk.
class ElfFile {
 public:
  /// An entry of a symbol table.
  struct Symbol {
    std::string name;
    std::size_t size = 0;
    unsigned char binding = 0;  ///< STB_GLOBAL and the like
    bool offered = false;       ///< defined here, and others may use it
  };

  /// Reads the file. Throws std::runtime_error when it is no such file, and every operation does when it is
  /// cut short.
  explicit ElfFile(const std::string& path);

  /// The name by which others ask for it, of a library that has one (DT_SONAME); else empty.
  std::string soname() const;

  /// The libraries it asks for by name, in its own order.
  std::vector<std::string> needed() const { return dynamicTexts(DT_NEEDED); }

  /// The folders it has them looked for in (DT_RUNPATH), in its own order, empty entries too.
  std::vector<std::string> runPath() const;

  /// What it offers to other files and asks of them.
  std::vector<Symbol> dynamicSymbols() const { return symbolsOf(SHT_DYNSYM); }

  /// The names of the dynamic symbols that keep a library mapped for ever.
  std::vector<std::string> uniqueSymbols() const;

  /// Everything in it that has a name, its own private things too; empty when it was stripped.
  std::vector<Symbol> allSymbols() const { return symbolsOf(SHT_SYMTAB); }

 private:
  template <class T>
  T at(std::size_t offset) const;
  /// The text of each dynamic entry of this kind.
  std::vector<std::string> dynamicTexts(Elf64_Sxword tag) const;
  std::vector<Elf64_Shdr> sections(Elf64_Word type) const;
  Elf64_Shdr section(std::size_t index) const;
  std::string text(const Elf64_Shdr& strings, std::size_t offset) const;
  std::vector<Symbol> symbolsOf(Elf64_Word type) const;

  std::vector<char> bytes_;
  Elf64_Ehdr header_{};
};
