#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>

#include <array>
#include <filesystem>
#include <optional>
#include <random>
#include <thread>

#include "io/FileDescriptor.h"
#include "io/LineReader.h"
#include "io/UserError.h"
#include "test_support/TempFolder.h"

namespace segmask {
namespace {

/// The bytes as gzip packs them.
std::string packed(const std::string& bytes) {
  z_stream stream{};
  EXPECT_EQ(deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY), Z_OK);
  std::string result(deflateBound(&stream, bytes.size()), '\0');
  std::string input = bytes;
  stream.next_in = reinterpret_cast<Bytef*>(input.data());
  stream.avail_in = static_cast<uInt>(input.size());
  stream.next_out = reinterpret_cast<Bytef*>(result.data());
  stream.avail_out = static_cast<uInt>(result.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  result.resize(stream.total_out);
  deflateEnd(&stream);
  return result;
}

/// Lines of hexadecimal digits by chance, which do not pack well.
std::string randomLines(std::size_t bytes) {
  std::mt19937 random(1);
  std::string text;
  while (text.size() < bytes) text += "0123456789abcdef\n"[random() % 17];
  return text + "\n";
}

class LineReaderTest : public ::testing::Test {
 protected:
  std::string write(const std::string& bytes) const { return folder_.write("lines", bytes); }

  /// All lines, each with a line feed.
  static std::string linesOf(const std::string& path) {
    LineReader reader(path);
    std::string all;
    for (std::string line; reader.next(line);) all += line + "\n";
    return all;
  }

  std::string errorOf(const std::string& bytes) const {
    try {
      linesOf(write(bytes));
    } catch (const UserError& error) {
      return error.what();
    }
    return {};
  }

  TempFolder folder_;
};

TEST_F(LineReaderTest, RefusesAFileThatShrinksWhileItIsReadAndTakesOneThatGrows) {
  const std::string path = write(std::string(300'000, '\n'));
  LineReader shrinking(path);
  std::string line;
  EXPECT_TRUE(shrinking.next(line));
  std::filesystem::resize_file(path, 100'000);
  std::string error;
  try {
    while (shrinking.next(line)) {
    }
  } catch (const UserError& thrown) {
    error = thrown.what();
  }
  EXPECT_EQ(error, path + ": has shrunk while it was read; 200000 of its bytes are missing");
  LineReader growing(path);
  EXPECT_TRUE(growing.next(line));
  std::filesystem::resize_file(path, 300'000);
  while (growing.next(line)) {
  }
  EXPECT_GE(growing.lineNumber(), 100'000U);
}

TEST_F(LineReaderTest, UnpacksWhatGzipPackedWhateverItsName) {
  EXPECT_EQ(linesOf(write(packed("a\n\nbc"))), "a\n\nbc\n");
  EXPECT_EQ(linesOf(write(packed(""))), "");
}

TEST_F(LineReaderTest, UnpacksWhatIsLongerThanABlock) {
  const std::string text = randomLines(1 << 20);
  const std::string bytes = packed(text);
  ASSERT_GT(bytes.size(), std::size_t{3} << 16);
  EXPECT_EQ(linesOf(write(bytes)), text);
}

TEST_F(LineReaderTest, UnpacksPackedFilesInARow) {
  EXPECT_EQ(linesOf(write(packed("a\nb") + packed("") + packed("c\nd"))), "a\nbc\nd\n");
}

TEST_F(LineReaderTest, TakesEverythingElseAsItIs) {
  EXPECT_EQ(linesOf(write("\x1F")), "\x1F\n");
  EXPECT_EQ(linesOf(write("\x1F\n\x8B")), "\x1F\n\x8B\n");
}

TEST_F(LineReaderTest, RefusesPackedDataThatIsCutOff) {
  const std::string bytes = packed(randomLines(1 << 18));
  const std::string cutOff = folder_.path("lines") + ": the gzip data is cut off";
  for (const std::size_t size : {std::size_t{2}, std::size_t{9}, bytes.size() / 2, bytes.size() - 1}) {
    EXPECT_EQ(errorOf(bytes.substr(0, size)), cutOff) << size;
  }
  EXPECT_EQ(errorOf(packed("a\n") + bytes.substr(0, 12)), cutOff);
}

TEST_F(LineReaderTest, RefusesPackedDataThatIsDamaged) {
  const std::string damaged = folder_.path("lines") + ": the gzip data is damaged";
  std::string wrongSum = packed("a\n");
  wrongSum[wrongSum.size() - 8] = static_cast<char>(wrongSum[wrongSum.size() - 8] ^ 1);
  EXPECT_EQ(errorOf(wrongSum), damaged);
  EXPECT_EQ(errorOf("\x1F\x8B and no more"), damaged);
  EXPECT_EQ(errorOf(packed("a\n") + "rubbish"), damaged);
}

TEST_F(LineReaderTest, ReadsAPipeThatGivesByteAfterByte) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  const FileDescriptor reading(ends[0]);
  std::thread writer([end = FileDescriptor(ends[1])] {
    for (const char byte : packed("one\ntwo\n")) writeFully(end.get(), &byte, 1);
  });
  EXPECT_EQ(linesOf("/proc/self/fd/" + std::to_string(reading.get())), "one\ntwo\n");
  writer.join();
}

}  // namespace
}  // namespace segmask
