#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "host/PluginChoice.h"
#include "host/PluginHost.h"
#include "io/UserError.h"
#include "test_support/TempFolder.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

/// What is said about the choice; empty when it is accepted.
std::string refusal(const PluginChoice& choice) {
  try {
    EXPECT_EQ(choice.pathInProcess(), choice.path());
    return "";
  } catch (const UserError& error) {
    return error.what();
  }
}

// One test, because the choice is the process's.
TEST(PluginChoice, TheFirstOfTheTwoFilesIsTheOneOfTheProcess) {
  const PluginChoice plain{std::nullopt, false};
  const PluginChoice fast{std::nullopt, true};
  const TempFolder folder;
  EXPECT_EQ(refusal({folder.path("libseg_mask_overlay.so"), false}), "") << "a missing file decides nothing";
  EXPECT_EQ(refusal({folder.write("libother.so", ""), false}), "") << "nor does one of another name";

  EXPECT_EQ(refusal(fast), "");
  EXPECT_EQ(refusal(fast), "") << "again";
  EXPECT_EQ(refusal(plain),
            "this process already draws with libseg_mask_overlay_fused.so, and a process can use one of the "
            "two: libseg_mask_overlay.so would need another process");
  fs::create_symlink(fast.path(), folder.path("link.so"));
  EXPECT_EQ(refusal({folder.path("link.so"), false}), "") << "the same file by another name";

  const std::string copy = folder.write("libseg_mask_overlay_fused.so", "");
  EXPECT_EQ(refusal({copy, false}), "this process already draws with " + fs::canonical(fast.path()).string() +
                                        ", and a process can use one of the two: " + copy +
                                        " would need another process");
  EXPECT_EQ(refusal({folder.path("libother.so"), false}), "") << "another plug-in beside it";
}

}  // namespace
}  // namespace segmask
