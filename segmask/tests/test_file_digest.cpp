#include <gtest/gtest.h>

#include "io/UserError.h"
#include "src/file_digest.h"
#include "test_support/TempFolder.h"

namespace segmask {
namespace {

TEST(FileDigest, IsTheSha256OfTheBytes) {
  const TempFolder folder;
  // The examples of FIPS 180-4, the last one longer than a block.
  const std::pair<std::string, const char*> examples[] = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {std::string(1'000'000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"}};
  for (const auto& [bytes, digest] : examples) EXPECT_EQ(sha256Of(folder.write("f", bytes)), digest);
}

TEST(FileDigest, LargeFilesAreReadInBlocks) {
  const TempFolder folder;
  std::string bytes(3 << 20, 'a');
  const std::string before = sha256Of(folder.write("f", bytes));
  bytes.back() = 'b';
  EXPECT_NE(sha256Of(folder.write("f", bytes)), before);
}

TEST(FileDigest, AMissingFileIsNamed) {
  const TempFolder folder;
  try {
    sha256Of(folder.path("none"));
    FAIL() << "no error";
  } catch (const UserError& error) {
    EXPECT_EQ(error.what(), folder.path("none") + ": No such file or directory");
  }
}

}  // namespace
}  // namespace segmask
