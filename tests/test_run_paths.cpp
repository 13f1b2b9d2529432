// Where the loader looks for the libraries of everything that was built.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "test_support/ElfFile.h"

namespace fs = std::filesystem;

namespace {

bool isElf(const fs::path& path) {
  std::string magic(SELFMAG, '\0');
  std::ifstream(path, std::ios::binary).read(magic.data(), SELFMAG);
  return magic == ELFMAG;
}

std::vector<fs::path> builtFiles() {
  std::vector<fs::path> files;
  for (const char* folder : {SEG_MASK_PROGRAMS, SEG_MASK_LIBRARIES}) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
      if (entry.is_regular_file() && isElf(entry.path())) files.push_back(entry.path());
    }
  }
  return files;
}

// The loader takes an empty entry for the working directory, where anybody may have put a library.
TEST(RunPaths, NameNoEmptyFolder) {
  std::vector<std::string> names;
  for (const fs::path& file : builtFiles()) {
    names.push_back(file.filename());
    const std::vector<std::string> folders = ElfFile(file).runPath();
    EXPECT_EQ(std::count(folders.begin(), folders.end(), ""), 0) << file;
  }
  for (const char* name : {"libseg_mask_overlay.so", "libseg_mask_overlay_fused.so", "libsw_core.so"}) {
    EXPECT_EQ(std::count(names.begin(), names.end(), name), 1) << name;
  }
}

TEST(RunPaths, LeadFromThePluginToItsNeighbours) {
  for (const char* plugin : {"/libseg_mask_overlay.so", "/libseg_mask_overlay_fused.so"}) {
    const std::vector<std::string> folders = ElfFile(std::string(SEG_MASK_LIBRARIES) + plugin).runPath();
    EXPECT_EQ(std::count(folders.begin(), folders.end(), "$ORIGIN"), 1) << plugin;
  }
}

}  // namespace
