#include <gtest/gtest.h>

#include <filesystem>

#include "tests/imported.h"
#include "video/PngEncoder.h"
#include "video/mask_picture.h"

namespace segmask {
namespace {

using Names = std::vector<std::string>;
using Values = std::vector<uint8_t>;

class MasksImport : public ::testing::Test {
 protected:
  MasksImport() {
    std::filesystem::create_directory(folder_.path("masks"));
    source_.path = folder_.path("masks");
    source_.classBy = ClassBy::Track;
  }

  /// A grey file of 3 x 2 pixels.
  std::string mask(const std::string& name, const Values& values) const {
    return folder_.write("masks/" + name, encodeGreyPng(values, 3, 2));
  }

  void picture(const std::string& name) {
    source_.images = folder_.path("pictures");
    std::filesystem::create_directories(*source_.images);
    folder_.write("pictures/" + name, "");
  }

  Imported import(const std::string& pattern = "{frame}_{instance}.png") const {
    return imported([&](DetectionLines& lines, ClassTable& classes) {
      return importMasks(source_, pattern, lines, classes);
    });
  }

  /// A detection of the right column, as a line has it.
  static std::string rightColumn(int id, int classId) {
    return "{\"id\": " + std::to_string(id) +
           ", \"x\": 2, \"y\": 0, \"w\": 1, \"h\": 2, \"class_id\": " + std::to_string(classId) +
           R"(, "score": 1, "mask": {"size": [2, 3], "counts": "42"}})";
  }

  /// One of the pixel at the bottom left.
  static std::string bottomLeft(int id, int classId) {
    return "{\"id\": " + std::to_string(id) +
           ", \"x\": 0, \"y\": 1, \"w\": 1, \"h\": 1, \"class_id\": " + std::to_string(classId) +
           R"(, "score": 1, "mask": {"size": [2, 3], "counts": "114"}})";
  }

  /// A file in colours.
  static std::string redPixel() {
    const AVFramePtr picture = makeAVFrame(AV_PIX_FMT_RGB24, 1, 1);
    picture->data[0][0] = 255;
    picture->data[0][1] = picture->data[0][2] = 0;
    return PngEncoder(1, 1).encode(*picture);
  }

  TempFolder folder_;
  ImportSource source_;
};

const Values kRightColumn{0, 0, 9, 0, 0, 255};
const Values kBottomLeft{0, 0, 0, 1, 0, 0};

TEST_F(MasksImport, AFileIsAnInstanceInTheOrderOfItsNumber) {
  mask("7_10.png", kRightColumn);
  mask("07_9.png", kBottomLeft);
  mask("2_10.png", kBottomLeft);
  folder_.write("masks/README.txt", "no mask");
  const Imported result = import();
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.lines, "{\"frame\": 2, \"producer\": \"p\", \"detections\": [" + bottomLeft(10, 0) +
                              "]}\n" + "{\"frame\": 7, \"producer\": \"p\", \"detections\": [" +
                              bottomLeft(9, 1) + ", " + rightColumn(10, 0) + "]}\n");
  EXPECT_EQ(result.classes.names(), (Names{"track 10", "track 9"}));
}

TEST_F(MasksImport, WithoutAnInstanceInThePatternEachValueIsOne) {
  mask("0.png", {0, 0, 40, 3, 0, 40});
  source_.classBy = ClassBy::Instance;
  const Imported result = import("{frame}.png");
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.lines, "{\"frame\": 0, \"producer\": \"p\", \"detections\": [" + bottomLeft(3, 0) + ", " +
                              rightColumn(40, 1) + "]}\n");
  EXPECT_EQ(result.classes.names(), (Names{"instance 0", "instance 1"}));
}

TEST_F(MasksImport, ACategoryInTheNameIsTheClass) {
  mask("0_dog_1.png", kBottomLeft);
  mask("0_cat_2.png", kRightColumn);
  mask("1_dog_7.png", kRightColumn);
  source_.classBy = ClassBy::Category;
  EXPECT_EQ(import("{frame}_{category}_{instance}.png").classes.names(), (Names{"dog", "cat"}));
  EXPECT_EQ(import("{frame}_{instance}.png").error,
            "--class-by category: the pattern '{frame}_{instance}.png' has no {category}");
}

TEST_F(MasksImport, ImagesAreNumberedInTheOrderOfTheirNames) {
  mask("b_5.png", kRightColumn);
  mask("a_5.png", kBottomLeft);
  EXPECT_EQ(import("{image}_{instance}.png").lines,
            "{\"frame\": 0, \"producer\": \"p\", \"detections\": [" + bottomLeft(5, 0) + "]}\n" +
                "{\"frame\": 1, \"producer\": \"p\", \"detections\": [" + rightColumn(5, 0) + "]}\n");
}

TEST_F(MasksImport, RefusesColoursWhereEachValueIsAnInstance) {
  const std::string file = folder_.write("masks/0.png", redPixel());
  EXPECT_EQ(import("{frame}.png").error,
            file + ": is in colours; a file of several instances has a palette or grey values");
}

TEST_F(MasksImport, PicturesOfAFolderAreTheFramesAndTheirNamesAreWritten) {
  picture("a.jpg");
  picture("b.jpg");
  mask("b_1.png", kBottomLeft);
  const std::string expected =
      "{\"frame\": 0, \"image\": \"a.jpg\", \"producer\": \"p\", \"detections\": []}\n"
      "{\"frame\": 1, \"image\": \"b.jpg\", \"producer\": \"p\", \"detections\": [" +
      bottomLeft(1, 0) + "]}\n";
  EXPECT_EQ(import("{image}_{instance}.png").lines, expected);
  const std::string other = mask("c_1.png", kBottomLeft);
  EXPECT_EQ(import("{image}_{instance}.png").error,
            other + ": its frame has no picture in " + *source_.images);
  std::filesystem::remove(other);
  std::filesystem::rename(folder_.path("masks/b_1.png"), folder_.path("masks/1_1.png"));
  EXPECT_EQ(import().lines, expected);
  const std::string third = mask("2_1.png", kBottomLeft);
  EXPECT_EQ(import().error, third + ": its frame has no picture in " + *source_.images);
}

TEST_F(MasksImport, FilesWithoutAPixelInsideArePassedOver) {
  const std::string empty = mask("0_1.png", {0, 0, 0, 0, 0, 0});
  mask("0_2.png", kBottomLeft);
  const Imported result = import();
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.passedOver.count, 1U);
  EXPECT_EQ(result.passedOver.first, empty);
}

// Their detections would have one "id" in one frame.
TEST_F(MasksImport, RefusesTwoFilesOfOneMask) {
  const std::string first = mask("00_1.png", kBottomLeft);
  const std::string second = mask("0_1.png", kRightColumn);
  EXPECT_EQ(import().error, second + ": has the same frame and instance as " + first);
  std::filesystem::rename(first, folder_.path("masks/0_01.png"));
  EXPECT_EQ(import().error,
            second + ": has the same frame and instance as " + folder_.path("masks/0_01.png"));
}

TEST_F(MasksImport, RefusesTwoFilesOfOneFrameWhereEachHasAllMasks) {
  const std::string first = mask("0.png", kBottomLeft);
  const std::string second = mask("00.png", kRightColumn);
  EXPECT_EQ(import("{frame}.png").error, second + ": has the same frame as " + first);
}

TEST_F(MasksImport, EachCategoryMayCountItsInstances) {
  mask("0_cat_1.png", kBottomLeft);
  mask("0_dog_1.png", kRightColumn);
  EXPECT_EQ(import("{frame}_{category}_{instance}.png").error, "");
}

// Each may count from the start, so one number is not one object.
TEST_F(MasksImport, ATrackIsOfItsCategory) {
  mask("7_cat_3.png", kBottomLeft);
  mask("7_dog_3.png", kRightColumn);
  mask("8_dog_3.png", kBottomLeft);
  EXPECT_EQ(import("{frame}_{category}_{instance}.png").classes.names(), (Names{"cat 3", "dog 3"}));
}

TEST_F(MasksImport, RefusesCategoriesThatAreNotUtf8) {
  const std::string file = mask("0_\xE4_1.png", kBottomLeft);
  EXPECT_EQ(import("{frame}_{category}_{instance}.png").error,
            file + ": the category in the name is not UTF-8, as the legend needs it");
  EXPECT_EQ(import("{image}_{instance}.png").error, "");
}

}  // namespace
}  // namespace segmask
