// The library comes and goes within one process without a trace.

#include <elf.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "frame_check.h"
#include "golden_model.h"
#include "plugin_harness.h"
#include "scene.h"

namespace {

constexpr int kCycles = 50;
const char kRegistryMarker[] = "********************CALL ONCE NOT TWICE********************";

bool isMapped(const std::string& library) {
  std::ifstream maps("/proc/self/maps");
  std::string line;
  const std::string name = library.substr(library.rfind('/') + 1);
  while (std::getline(maps, line)) {
    if (line.find(name) != std::string::npos) return true;
  }
  return false;
}

int occurrences(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
    ++count;
  return count;
}

// Draws one frame whose payload is text, which sends the plug-in through the value registries.
void loadDrawAndUnload(cudaStream_t stream, IRenderBackend& backend) {
  scene::Scene scene = scene::oneProducer(6, 4, {scene::coverAll(6, 4, 2)});
  scene.inputs[0].form = scene::PayloadForm::text;
  plugin_test::Frame frame(scene, stream);
  const plugin_test::LoadedPlugin plugin;
  RenderInit init;
  init.backend = &backend;
  plugin->init(init);
  plugin->render(frame.context());
  EXPECT_TRUE(plugin_test::sameFrame(scene, golden::expectedFrame(scene), frame.pixels()));
}

class PluginUnload : public ::testing::Test {
 protected:
  void SetUp() override {
#ifdef SEG_MASK_PLUGIN_STAYS_MAPPED
    GTEST_SKIP() << "sanitizer builds keep plug-ins mapped on purpose";
#endif
    ASSERT_FALSE(isMapped(plugin_test::pluginPath()));
  }
};

TEST_F(PluginUnload, LeavesNothingMappedAfterEachOfManyCycles) {
  for (int cycle = 1; cycle <= kCycles; ++cycle) {
    {
      const plugin_test::LoadedPlugin plugin;
      ASSERT_TRUE(isMapped(plugin_test::pluginPath())) << "cycle " << cycle;
    }
    ASSERT_FALSE(isMapped(plugin_test::pluginPath())) << "cycle " << cycle;
  }
}

TEST_F(PluginUnload, LeavesNothingMappedAfterDrawing) {
  if (!plugin_test::deviceAvailable()) GTEST_SKIP() << "no CUDA device";
  const plugin_test::Stream stream;
  zelvo::DeviceRenderBackend backend(stream.get());
  for (int cycle = 1; cycle <= kCycles; ++cycle) {
    loadDrawAndUnload(stream.get(), backend);
    ASSERT_FALSE(isMapped(plugin_test::pluginPath())) << "cycle " << cycle;
  }
}

TEST(PluginLoad, LibraryStaysWhileAnyLoaderHoldsIt) {
  const plugin_test::LoadedPlugin kept;
  { const plugin_test::LoadedPlugin other; }
  EXPECT_TRUE(isMapped(plugin_test::pluginPath()));
  EXPECT_STREQ(kept->getName(), "SegMaskOverlayPlugin");
}

TEST(PluginLoad, PrintsNothing) {
  const std::string printed = plugin_test::standardErrorOf([] {
    for (int i = 0; i < 3; ++i) {
      const plugin_test::LoadedPlugin plugin;
      plugin->getUuid();
    }
  });
  EXPECT_EQ(printed, "");
}

// Runs in a process of its own, because the registries of this one may be filled already.
TEST(PluginLoadDeathTest, RegistriesFillOnceAProcessHoweverOftenTheLibraryIsLoaded) {
  if (!plugin_test::deviceAvailable()) GTEST_SKIP() << "no CUDA device";
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto markersOfFiveCycles = [] {
    const plugin_test::Stream stream;
    zelvo::DeviceRenderBackend backend(stream.get());
    const std::string printed = plugin_test::standardErrorOf([&] {
      for (int i = 0; i < 5; ++i) loadDrawAndUnload(stream.get(), backend);
    });
    return occurrences(printed, kRegistryMarker);
  };
  EXPECT_EXIT(std::_Exit(markersOfFiveCycles()), ::testing::ExitedWithCode(1), "");
}

// The names of the library's dynamic symbols of one binding.
std::vector<std::string> dynamicSymbols(const std::string& path, const std::vector<unsigned char>& bindings) {
  std::ifstream file(path, std::ios::binary);
  const std::string image{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const auto read = [&image](auto& record, std::size_t at) {
    ASSERT_LE(at + sizeof record, image.size());
    std::memcpy(&record, image.data() + at, sizeof record);
  };
  Elf64_Ehdr header{};
  read(header, 0);
  std::vector<std::string> names;
  for (std::size_t i = 0; i < header.e_shnum; ++i) {
    Elf64_Shdr table{};
    read(table, header.e_shoff + i * header.e_shentsize);
    if (table.sh_type != SHT_DYNSYM) continue;
    Elf64_Shdr texts{};
    read(texts, header.e_shoff + static_cast<std::size_t>(table.sh_link) * header.e_shentsize);
    for (std::size_t at = 0; at < table.sh_size; at += sizeof(Elf64_Sym)) {
      Elf64_Sym symbol{};
      read(symbol, table.sh_offset + at);
      for (const unsigned char binding : bindings) {
        if (ELF64_ST_BIND(symbol.st_info) == binding) {
          names.emplace_back(image.c_str() + texts.sh_offset + symbol.st_name);
        }
      }
    }
  }
  return names;
}

TEST(PluginFile, HasNoUniqueSymbolThatWouldKeepItMapped) {
  EXPECT_FALSE(dynamicSymbols(plugin_test::pluginPath(), {STB_GLOBAL, STB_WEAK}).empty());
  EXPECT_EQ(dynamicSymbols(plugin_test::pluginPath(), {STB_GNU_UNIQUE}), std::vector<std::string>{});
}

}  // namespace
