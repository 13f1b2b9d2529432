#include "test_support/ElfFile.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

ElfFile::ElfFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  bytes_.assign(std::istreambuf_iterator<char>(file), {});
  header_ = at<Elf64_Ehdr>(0);
  const bool isElf = std::memcmp(header_.e_ident, ELFMAG, SELFMAG) == 0;
  if (!isElf || header_.e_ident[EI_CLASS] != ELFCLASS64)
    throw std::runtime_error("not a 64-bit ELF: " + path);
}

std::string ElfFile::soname() const {
  const std::vector<std::string> names = dynamicTexts(DT_SONAME);
  return names.empty() ? "" : names.front();
}

std::vector<std::string> ElfFile::runPath() const {
  std::vector<std::string> folders;
  for (const std::string& path : dynamicTexts(DT_RUNPATH)) {
    std::size_t begin = 0;
    std::size_t end = path.find(':');
    for (; end != std::string::npos; end = path.find(':', begin)) {
      folders.push_back(path.substr(begin, end - begin));
      begin = end + 1;
    }
    folders.push_back(path.substr(begin));
  }
  return folders;
}

std::vector<std::string> ElfFile::dynamicTexts(Elf64_Sxword tag) const {
  std::vector<std::string> texts;
  for (const Elf64_Shdr& table : sections(SHT_DYNAMIC)) {
    for (std::size_t offset = 0; offset < table.sh_size; offset += sizeof(Elf64_Dyn)) {
      const auto entry = at<Elf64_Dyn>(table.sh_offset + offset);
      if (entry.d_tag == DT_NULL) break;
      if (entry.d_tag == tag) texts.push_back(text(section(table.sh_link), entry.d_un.d_val));
    }
  }
  return texts;
}

std::vector<std::string> ElfFile::uniqueSymbols() const {
  std::vector<std::string> names;
  for (const Symbol& symbol : dynamicSymbols()) {
    if (symbol.binding == STB_GNU_UNIQUE) names.push_back(symbol.name);
  }
  return names;
}

template <class T>
T ElfFile::at(std::size_t offset) const {
  if (offset + sizeof(T) > bytes_.size()) throw std::runtime_error("the ELF file is cut short");
  T value;
  std::memcpy(&value, bytes_.data() + offset, sizeof(T));
  return value;
}

std::vector<Elf64_Shdr> ElfFile::sections(Elf64_Word type) const {
  std::vector<Elf64_Shdr> found;
  for (std::size_t i = 0; i < header_.e_shnum; ++i) {
    if (section(i).sh_type == type) found.push_back(section(i));
  }
  return found;
}

Elf64_Shdr ElfFile::section(std::size_t index) const {
  return at<Elf64_Shdr>(header_.e_shoff + index * sizeof(Elf64_Shdr));
}

std::string ElfFile::text(const Elf64_Shdr& strings, std::size_t offset) const {
  std::string name;
  for (std::size_t i = strings.sh_offset + offset; at<char>(i) != '\0'; ++i) name.push_back(at<char>(i));
  return name;
}

std::vector<ElfFile::Symbol> ElfFile::symbolsOf(Elf64_Word type) const {
  std::vector<Symbol> symbols;
  for (const Elf64_Shdr& table : sections(type)) {
    // The first entry of every table stands for "no symbol".
    for (std::size_t offset = sizeof(Elf64_Sym); offset < table.sh_size; offset += sizeof(Elf64_Sym)) {
      const auto entry = at<Elf64_Sym>(table.sh_offset + offset);
      Symbol symbol;
      symbol.name = text(section(table.sh_link), entry.st_name);
      symbol.size = entry.st_size;
      symbol.binding = ELF64_ST_BIND(entry.st_info);
      symbol.offered = entry.st_shndx != SHN_UNDEF && symbol.binding != STB_LOCAL;
      symbols.push_back(symbol);
    }
  }
  return symbols;
}
