// Bad input where pictures are drawn.

#include <filesystem>

#include "test_support/frames.h"
#include "tests/BadInput.h"
#include "video/mask_picture.h"

namespace fs = std::filesystem;

namespace {

/// Two pictures, a.png and b.png, in the folder pics.
class BadPictures : public BadInput {
 protected:
  BadPictures() {
    fs::create_directory(path("pics"));
    for (const char* name : {"a.png", "b.png"}) picture(name);
  }

  void picture(const std::string& name) const {
    folder_.write("pics/" + name, segmask::encodeGreyPng({10, 20, 30, 40, 50, 60, 70, 80}, 4, 2));
  }
};

TEST_F(BadPictures, FolderEmpty) {
  fs::create_directory(path("empty"));
  render("empty", "drawn");
}

TEST_F(BadPictures, FolderWithSomethingElse) {
  folder_.write("pics/notes.txt", "x");
  render("pics", "drawn");
}

TEST_F(BadPictures, FileThatIsNoPicture) {
  folder_.write("pics/c.png", "x");
  render("pics", "drawn");
}

TEST_F(BadPictures, DamagedPicture) {
  const std::string whole = readFile(path("pics/a.png"));
  folder_.write("pics/z.png", whole.substr(0, whole.size() - 20));
  render("pics", "drawn");
}

TEST_F(BadPictures, LineThatNamesNoPicture) {
  folder_.write("good.jsonl", kNothingFoundLine + R"({"image": "x.png", "producer": "p"})");
  render("pics", "drawn");
}

TEST_F(BadPictures, TwoOfOneName) {
  picture("a.jpg");
  render("pics", "drawn");
}

TEST_F(BadPictures, OutputIsAVideo) {
  render("pics", "out.mp4");
}

TEST_F(BadPictures, OutputIsOnePicture) {
  render("pics", "one.png");
}

TEST_F(BadPictures, OutputIsTheFolder) {
  render("pics", "pics");
}

TEST_F(BadPictures, OutputIsThePicture) {
  render("pics/b.png", "pics");
  render("pics/b.png", "pics/b.png");
}

TEST_F(BadPictures, OutputInAMissingFolder) {
  render("pics", "none/drawn");
}

TEST_F(BadPictures, OutputExistsAndMayNotBeReplaced) {
  fs::create_directory(path("drawn"));
  folder_.write("drawn/b.png", "old");
  render("pics", "drawn", {"-n"});
  EXPECT_EQ(readFile(path("drawn/b.png")), "old");
}

TEST_F(BadPictures, SummaryIsAnOutput) {
  render("pics", "drawn", {"--summary-json", path("drawn/a.png")});
}

TEST_F(BadPictures, SummaryIsAPicture) {
  render("pics", "drawn", {"--summary-json", path("pics/b.png")});
}

TEST_F(BadPictures, LookbackOfPictures) {
  render("pics", "drawn", {"--lookback", "1"});
}

TEST_F(BadPictures, ContactSheetOfPictures) {
  render("pics", "drawn", {"--contact-sheet", path("sheet.png")});
}

TEST_F(BadPictures, SizeOfPictures) {
  render("pics", "drawn", {"--size", "8x8"});
}

TEST_F(BadPictures, StartWithATime) {
  render("pics", "drawn", {"--start", "1.5"});
}

TEST_F(BadPictures, StartPastTheLast) {
  render("pics", "drawn", {"--start", "2"});
}

}  // namespace
