// A symbol of binding "unique" keeps the library that has it mapped for ever, so libZelvoTools.so may have
// none.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_support/ElfFile.h"

namespace {

TEST(Symbols, TheLibraryHasNoUniqueSymbol) {
  const ElfFile library(ZELVO_TOOLS_LIBRARY);
  EXPECT_GT(library.dynamicSymbols().size(), 20u) << "the library offers more than that";
  EXPECT_EQ(library.uniqueSymbols(), std::vector<std::string>{});
}

TEST(Symbols, AUniqueSymbolWouldBeFound) {
  EXPECT_EQ(ElfFile(UNIQUE_SYMBOL_LIBRARY).uniqueSymbols(),
            std::vector<std::string>{"zelvo_tools_unique_symbol"});
}

}  // namespace
