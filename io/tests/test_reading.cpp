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

TEST(PictureNames, AreSortedByTheirBytesWithoutHiddenFilesAndFolders) {
  const TempFolder folder;
  for (const char* name : {"b.jpg", "B.PNG", "a10.jpeg", "a9.Jpg", ".hidden.txt"}) folder.write(name, "");
  std::filesystem::create_directory(folder.path("folder.txt"));
  EXPECT_EQ(pictureNames(folder.path("")),
            (std::vector<std::string>{"B.PNG", "a10.jpeg", "a9.Jpg", "b.jpg"}));
}

std::string refusalOf(const std::string& folder) {
  try {
    pictureNames(folder);
  } catch (const UserError& error) {
    return error.what();
  }
  return "nothing was wrong";
}

TEST(PictureNames, RefusesAFolderWithoutPicturesOrWithOtherFiles) {
  const TempFolder folder;
  EXPECT_EQ(refusalOf(folder.path("")), folder.path("") + ": holds no picture (.png, .jpg or .jpeg)");
  folder.write("a.jpg", "");
  folder.write("notes.txt", "");
  EXPECT_EQ(
      refusalOf(folder.path("")),
      folder.path("notes.txt") + ": is no .png, .jpg or .jpeg; a folder of pictures holds nothing else");
}

TEST(PictureNames, RefusesWhatIsNoFolder) {
  const TempFolder folder;
  EXPECT_EQ(refusalOf(folder.path("none")), folder.path("none") + ": No such file or directory");
  EXPECT_EQ(refusalOf(folder.write("file", "")), folder.path("file") + ": Not a directory");
}

}  // namespace
}  // namespace segmask
