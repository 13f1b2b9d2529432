#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>
#include <thread>

#include "io/UserError.h"
#include "io/reading.h"
#include "test_support/TempFolder.h"

namespace segmask {
namespace {

/// What pread gives from `offset` on, without moving the file.
std::string readFrom(const FileDescriptor& file, off_t offset) {
  std::string bytes(100, '\0');
  bytes.resize(static_cast<std::size_t>(pread(file.get(), bytes.data(), bytes.size(), offset)));
  return bytes;
}

std::string allOf(const FileDescriptor& file) {
  std::string bytes(100, '\0');
  bytes.resize(readFully(file.get(), bytes.data(), bytes.size(), "file"));
  return bytes;
}

TEST(OpenSeekable, GivesPlainFilesAndPackedOnesFromTheirBeginningAndFromAnyPlace) {
  const TempFolder folder;
  const FileDescriptor plain = openSeekable(folder.write("plain", "0123456789"));
  EXPECT_EQ(allOf(plain), "0123456789");
  EXPECT_EQ(readFrom(plain, 4), "456789");

  const gzFile packed = gzopen(folder.path("packed").c_str(), "wb");
  ASSERT_EQ(gzwrite(packed, "0123456789", 10), 10);
  ASSERT_EQ(gzclose(packed), Z_OK);
  const FileDescriptor unpacked = openSeekable(folder.path("packed"));
  EXPECT_EQ(allOf(unpacked), "0123456789");
  EXPECT_EQ(readFrom(unpacked, 4), "456789");
}

TEST(OpenSeekable, CopiesAPipe) {
  const TempFolder folder;
  const std::string path = folder.path("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const std::string text(300'000, 'x');
  std::thread writer([&] { folder.write("pipe", text + "end"); });
  const FileDescriptor copy = openSeekable(path);
  writer.join();
  EXPECT_EQ(readFrom(copy, 300'000), "end");
}

TEST(OpenSeekable, RefusesFoldersAndWhatIsNotThere) {
  const TempFolder folder;
  EXPECT_THROW(openSeekable(folder.path("")), UserError);
  EXPECT_THROW(openSeekable(folder.path("none")), UserError);
}

TEST(ReadWhole, GivesAllBytesUpToTheLimit) {
  const TempFolder folder;
  const std::string path = folder.write("file", std::string(1 << 20, 'x'));
  EXPECT_EQ(readWhole(path, 1 << 20).size(), 1U << 20);
  folder.write("file", std::string((1 << 20) + 1, 'x'));
  try {
    readWhole(path, 1 << 20);
    ADD_FAILURE();
  } catch (const UserError& error) {
    EXPECT_EQ(error.what(), path + ": has more than 1 MiB");
  }
}

TEST(FileNames, AreSortedByTheirBytesWithoutHiddenFilesAndFolders) {
  const TempFolder folder;
  for (const char* name : {"b", "B", "a10", "a9", ".hidden"}) folder.write(name, "");
  std::filesystem::create_directory(folder.path("folder"));
  EXPECT_EQ(fileNames(folder.path("")), (std::vector<std::string>{"B", "a10", "a9", "b"}));
}

TEST(FileNames, RefusesWhatIsNoFolder) {
  const TempFolder folder;
  EXPECT_THROW(fileNames(folder.path("none")), UserError);
  EXPECT_THROW(fileNames(folder.write("file", "")), UserError);
}

}  // namespace
}  // namespace segmask
