#include <gtest/gtest.h>

#include "io/TextOutput.h"
#include "io/UserError.h"
#include "test_support/TempFolder.h"

namespace segmask {
namespace {

TEST(TextOutput, AFileAppearsWholeAtTheCommit) {
  const TempFolder folder;
  const std::string path = folder.write("out", "old");
  const std::string text(100'000, 'x');
  {
    TextOutput output(path);
    output.write(text);
    output.write("end\n");
    output.finish();
    EXPECT_EQ(readFile(path), "old");
    output.commit();
  }
  EXPECT_EQ(readFile(path), text + "end\n");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"out"});
}

TEST(TextOutput, WithoutACommitNothingIsLeft) {
  const TempFolder folder;
  folder.write("out", "old");
  TextOutput(folder.path("out")).write("new");
  EXPECT_EQ(readFile(folder.path("out")), "old");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"out"});
}

TEST(TextOutput, StandardOutputGetsItAllAtItsEnd) {
  ::testing::internal::CaptureStdout();
  {
    TextOutput output("-");
    output.write(std::string(200'000, 'x'));
  }
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  ::testing::internal::CaptureStdout();
  TextOutput output("-");
  output.write(std::string(200'000, 'x'));
  output.write("end");
  output.finish();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), std::string(200'000, 'x') + "end");
}

}  // namespace
}  // namespace segmask
