// The library as the loader meets it: what it asks for, what it offers, how long its table of virtual
// functions is.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <typeinfo>
#include <vector>

#include "render_base/RenderBase.h"
#include "test_support/ElfFile.h"
#include "test_support/plugin_harness.h"

namespace {

using Names = std::vector<std::string>;

/// A library's name without its version: "libc.so.6" gives "libc".
std::string stem(const std::string& library) {
  return library.substr(0, library.find(".so"));
}

bool isAmong(const Names& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// The languages' own libraries, of which each build names those that it uses, and the loader itself, which
/// some platforms list. A build with sanitizers needs their run-time libraries too.
bool isRuntime(const std::string& name) {
  static const Names runtimes = {"libstdc++",       "libm", "libgcc_s", "libc", "ld-linux-x86-64",
                                 "ld-linux-aarch64"};
  static const Names sanitizers = {"libasan", "libubsan", "libtsan"};
#ifdef SEG_MASK_SANITIZED
  if (isAmong(sanitizers, name)) return true;
#endif
  return isAmong(runtimes, name);
}

Names neededStems() {
  Names stems;
  for (const std::string& name : ElfFile(plugin_test::pluginPath()).needed()) stems.push_back(stem(name));
  std::sort(stems.begin(), stems.end());
  return stems;
}

TEST(PluginFile, NeedsTheseLibrariesAndTheLanguagesOwn) {
  Names expected = {SEG_MASK_CUDART,  "libZelvoTools",     "libclass_loader", "libconsole_bridge",
                    "libopencv_core", "libopencv_imgproc", "libsw_core"};
  std::sort(expected.begin(), expected.end());
  Names needed = neededStems();
  for (const char* runtime : {"libstdc++", "libc"}) EXPECT_TRUE(isAmong(needed, runtime)) << runtime;
  needed.erase(std::remove_if(needed.begin(), needed.end(), isRuntime), needed.end());
  EXPECT_EQ(needed, expected);
}

TEST(PluginFile, OffersNoSymbol) {
  const std::vector<ElfFile::Symbol> symbols = ElfFile(plugin_test::pluginPath()).dynamicSymbols();
  EXPECT_GT(symbols.size(), 30U) << "it asks for more than that";
  for (const ElfFile::Symbol& symbol : symbols) EXPECT_FALSE(symbol.offered) << symbol.name;
}

TEST(PluginFile, HasNoUniqueSymbolThatWouldKeepItMapped) {
  EXPECT_EQ(ElfFile(plugin_test::pluginPath()).uniqueSymbols(), Names{});
}

// Offset to top and type information come first, then a pointer for each virtual function.
TEST(PluginFile, TableOfVirtualFunctionsHasElevenSlots) {
  const std::vector<ElfFile::Symbol> symbols = ElfFile(plugin_test::pluginPath()).allSymbols();
  const auto table = std::find_if(symbols.begin(), symbols.end(), [](const ElfFile::Symbol& symbol) {
    return symbol.name == "_ZTV20SegMaskOverlayPlugin";
  });
  ASSERT_NE(table, symbols.end());
  EXPECT_EQ(table->size, (2 + 11) * sizeof(void*));
}

// Nothing of the library's can be looked up, so its type information is compared by name.
TEST(PluginFile, TypesAreKnownAcrossTheLibrarysEdge) {
  const plugin_test::LoadedPlugin plugin;
  IRenderPlugin& object = *plugin;
  EXPECT_STREQ(typeid(object).name(), "20SegMaskOverlayPlugin");
  EXPECT_NE(dynamic_cast<RenderBase*>(&object), nullptr);
}

}  // namespace
