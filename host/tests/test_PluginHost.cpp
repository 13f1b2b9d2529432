#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <vector>

#include "host/PluginHost.h"
#include "io/UserError.h"
#include "test_support/StartTogether.h"
#include "test_support/TempFolder.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

constexpr char kPlugin[] = "libseg_mask_overlay.so";

const std::vector<std::string>& idlePlugins() {
  static const std::vector<std::string> paths{FIRST_IDLE_PLUGIN, SECOND_IDLE_PLUGIN};
  return paths;
}

/// The default plug-in of a host that is the library at this path.
std::string defaultOf(const std::string& library) {
  void* const handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) throw std::runtime_error(dlerror());
  using Ask = void (*)(std::string&);
  std::string path;
  reinterpret_cast<Ask>(dlsym(handle, "ownDefaultPluginPath"))(path);
  dlclose(handle);
  return path;
}

TEST(PluginHost, HoldsThePluginOfALibrary) {
  PluginHost host(FIRST_IDLE_PLUGIN);
  EXPECT_STREQ(host.plugin().getName(), "FirstIdlePlugin");
  EXPECT_EQ(host.classes(), std::vector<std::string>{"FirstIdlePlugin"});
}

// class_loader itself may be called by one thread at a time.
TEST(PluginHost, SeveralThreadsLoadAndUnloadAtOnce) {
  constexpr unsigned kThreads = 8;
  constexpr unsigned kRounds = 50;
  std::atomic<unsigned> loaded{0};
  std::vector<std::string> errors(kThreads);
  startTogether(kThreads, [&](unsigned i) {
    try {
      for (unsigned round = 0; round < kRounds; ++round) {
        PluginHost host(idlePlugins()[(i + round) % idlePlugins().size()]);
        if (host.plugin().getUuid() == "idle") ++loaded;
      }
    } catch (const std::exception& error) {
      errors[i] = error.what();
    }
  });
  EXPECT_EQ(errors, std::vector<std::string>(kThreads));
  EXPECT_EQ(loaded, kThreads * kRounds);
}

// This program stands in bin, the plug-in in the lib beside that.
TEST(DefaultPlugin, OfAProgramIsInTheLibBesideItsFolder) {
  const fs::path program = fs::read_symlink("/proc/self/exe");
  EXPECT_EQ(defaultPluginPath(), program.parent_path().parent_path() / "lib" / kPlugin);
  EXPECT_EQ(fs::canonical(defaultPluginPath()), fs::canonical(OVERLAY_PLUGIN));
  EXPECT_EQ(defaultPluginPath(kFastPluginFile),
            program.parent_path().parent_path() / "lib" / "libseg_mask_overlay_fused.so");
}

class DefaultPluginOfALibrary : public ::testing::Test {
 protected:
  DefaultPluginOfALibrary() {
    for (const char* name : {"lib", "modules"}) fs::create_directory(folder_.path(name));
    fs::copy_file(OWN_LIBRARY, folder_.path("modules/host.so"));
  }

  std::string path(const std::string& name) const { return fs::canonical(folder_.path(".")) / name; }

  TempFolder folder_;
};

TEST_F(DefaultPluginOfALibrary, IsTheOneBesideTheLibraryOrElseInTheLibBesideItsFolder) {
  folder_.write("lib/libseg_mask_overlay.so", "");
  EXPECT_EQ(defaultOf(path("modules/host.so")), path("lib/libseg_mask_overlay.so"));
  folder_.write("modules/libseg_mask_overlay.so", "");
  EXPECT_EQ(defaultOf(path("modules/host.so")), path("modules/libseg_mask_overlay.so"));
}

TEST_F(DefaultPluginOfALibrary, IsElseInAFolderAboveThatOfTheModules) {
  fs::create_directories(folder_.path("lib/machine/modules"));
  fs::copy_file(OWN_LIBRARY, folder_.path("lib/machine/modules/host.so"));
  folder_.write("lib/libseg_mask_overlay.so", "");
  EXPECT_EQ(defaultOf(path("lib/machine/modules/host.so")), path("lib/libseg_mask_overlay.so"));
  folder_.write("lib/machine/libseg_mask_overlay.so", "");
  EXPECT_EQ(defaultOf(path("lib/machine/modules/host.so")), path("lib/machine/libseg_mask_overlay.so"));
}

TEST_F(DefaultPluginOfALibrary, IsLookedForWhereTheLibraryLiesAndNotALinkToIt) {
  folder_.write("modules/libseg_mask_overlay.so", "");
  fs::create_symlink("../modules/host.so", folder_.path("lib/host.so"));
  EXPECT_EQ(defaultOf(path("lib/host.so")), path("modules/libseg_mask_overlay.so"));
}

TEST_F(DefaultPluginOfALibrary, ThatIsNowhereIsMissedInTheLib) {
  const std::string missing = defaultOf(path("modules/host.so"));
  EXPECT_EQ(missing, path("lib/libseg_mask_overlay.so"));
  try {
    const PluginHost host(missing);
    FAIL() << "loaded";
  } catch (const UserError& error) {
    EXPECT_EQ(error.what(), missing + ": No such file or directory");
  }
}

}  // namespace
}  // namespace segmask
