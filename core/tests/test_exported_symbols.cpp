// What libsw_core.so offers is what core/exported_symbols.txt lists: a function that disappears breaks
// programs that were linked with it, and one that appears has to be kept.

#include <cxxabi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "test_support/ElfFile.h"

namespace {

using Names = std::vector<std::string>;

/// Templates' functions and type information are weak: how many of them there are is the compiler's choice.
Names offered() {
  Names names;
  for (const ElfFile::Symbol& symbol : ElfFile(SW_CORE_LIBRARY).dynamicSymbols()) {
    if (symbol.offered && symbol.binding == STB_GLOBAL) names.push_back(symbol.name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

Names listed() {
  std::ifstream file(EXPORTED_SYMBOLS);
  Names names;
  for (std::string line; std::getline(file, line);) names.push_back(line);
  std::sort(names.begin(), names.end());
  return names;
}

/// The names in `some` and not in `others`, one a line, as they are in the source and as they are listed.
std::string onlyIn(const Names& some, const Names& others) {
  Names only;
  std::set_difference(some.begin(), some.end(), others.begin(), others.end(), std::back_inserter(only));
  std::string lines;
  for (const std::string& name : only) {
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(name.c_str(), nullptr, nullptr, nullptr), &std::free);
    lines += "  " + name + "  " + (text ? text.get() : "") + "\n";
  }
  return lines;
}

TEST(ExportedSymbols, AreThoseOfTheList) {
  const Names expected = listed();
  const Names actual = offered();
  ASSERT_GT(actual.size(), 90U);
  EXPECT_EQ(onlyIn(expected, actual), "") << "listed, and no longer offered";
  EXPECT_EQ(onlyIn(actual, expected), "") << "offered, and not listed";
  if (HasFailure()) {
    ADD_FAILURE() << "To accept the change: nm -D --defined-only --without-symbol-versions " SW_CORE_LIBRARY
                     " | awk '$2 ~ /^[ABDRT]$/ {print $3}' | LC_ALL=C sort > core/exported_symbols.txt";
  }
}

/// A name that several libraries have is one object in a process only if each of them offers it.
TEST(ExportedSymbols, TypeInformationIsAmongTheWeakOnes) {
  int found = 0;
  for (const ElfFile::Symbol& symbol : ElfFile(SW_CORE_LIBRARY).dynamicSymbols()) {
    for (const char* name :
         {"_ZTS8SwString", "_ZTS11SwJsonValue", "_ZTS12SwJsonObject", "_ZTS11SwJsonArray"}) {
      found += symbol.offered && symbol.name == name ? 1 : 0;
    }
  }
  EXPECT_EQ(found, 4);
}

/// The linker's version of the whole interface, by which a program of another one is refused.
TEST(ExportedSymbols, TheLibrarysNameHasTheVersionOfItsInterface) {
  EXPECT_EQ(ElfFile(SW_CORE_LIBRARY).soname(), "libsw_core.so." SW_CORE_INTERFACE);
  const Names names = offered();
  EXPECT_EQ(std::count(names.begin(), names.end(), "SW_CORE_" SW_CORE_INTERFACE), 1);
}

}  // namespace
