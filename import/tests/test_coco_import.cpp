#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <thread>

#include "src/CocoFile.h"
#include "src/JsonFileStream.h"
#include "tests/imported.h"

namespace segmask {
namespace {

using Names = std::vector<std::string>;

const char kImages[] = R"({"id": 7, "file_name": "val/b.jpg", "width": 4, "height": 2},
                          {"id": 5, "file_name": "a.jpg", "width": 3, "height": 3})";
const char kCategories[] = R"({"id": 90, "name": "toothbrush"}, {"id": 1, "name": "person"},
                              {"id": 18, "name": "a \"dog\""})";

/// The first row of 4 x 2 pixels.
const char kRuns[] = R"({"size": [2, 4], "counts": [0, 1, 1, 1, 1, 1, 1, 1, 1]})";

class CocoImport : public ::testing::Test {
 protected:
  /// An instances file with these annotations.
  static std::string instances(const std::string& annotations) {
    return std::string("{\"info\": {\"images\": [1]}, \"images\": [") + kImages + "], \"annotations\": [" +
           annotations + "], \"categories\": [" + kCategories + "]}";
  }

  static std::string annotation(int image, int category, const std::string& segmentation,
                                const std::string& more = "") {
    return "{\"image_id\": " + std::to_string(image) + ", \"category_id\": " + std::to_string(category) +
           ", \"segmentation\": " + segmentation + more + "}";
  }

  Imported import(const std::string& file) const {
    folder_.write("c.json", file);
    return imported([this](DetectionLines& lines, ClassTable& classes) {
      ImportSource source = source_;
      source.path = folder_.path("c.json");
      return importCoco(source, lines, classes);
    });
  }

  void expectRefused(const std::string& file, const std::string& what) const {
    const Imported result = import(file);
    EXPECT_EQ(result.error.find(folder_.path("c.json") + ": " + what), 0U)
        << result.error << "\nlacks: " << what;
  }

  TempFolder folder_;
  ImportSource source_;
};

TEST_F(CocoImport, GivesALineForEachImageInTheFilesOrderWithTheMasksBoxes) {
  const Imported result = import(instances(
      annotation(5, 18, "[[0.0, 0.0, 2.0, 0.0, 2.0, 3.0, 0.0, 3.0]]", R"(, "id": 11, "bbox": [9, 9, 9, 9])") +
      "," + annotation(7, 90, kRuns, R"(, "id": 12, "score": 0.25)") + "," +
      annotation(7, 18, R"({"counts": "134", "size": [2, 4]})")));
  EXPECT_EQ(result.error, "");
  // "134" is 1, 3, 4: column by column the second pixel of the first column and the whole second column.
  EXPECT_EQ(
      result.lines,
      R"({"frame": 0, "image": "b.jpg", "producer": "p", "detections": [)"
      R"({"id": 12, "x": 0, "y": 0, "w": 4, "h": 1, "class_id": 0, "score": 0.25, "mask": {"size": [2, 4], "counts": "011000000"}}, )"
      R"({"x": 0, "y": 0, "w": 2, "h": 2, "class_id": 1, "score": 1, "mask": {"size": [2, 4], "counts": "134"}}]})"
      "\n"
      R"({"frame": 1, "image": "a.jpg", "producer": "p", "detections": [)"
      R"({"id": 11, "x": 0, "y": 0, "w": 2, "h": 3, "class_id": 1, "score": 1, "mask": {"polygon": [[0.0,0.0,2.0,0.0,2.0,3.0,0.0,3.0]]}}]})"
      "\n");
}

TEST_F(CocoImport, AnnotationsMayComeBeforeTheImagesThatTheyAreOf) {
  const std::string annotations = annotation(5, 1, "[[0, 0, 2, 0, 2, 3]]") + "," + annotation(7, 1, kRuns) +
                                  "," + annotation(5, 1, "[[0, 0, 1, 0, 1, 3]]");
  const Imported usual = import(instances(annotations));
  EXPECT_EQ(usual.error, "");
  EXPECT_EQ(import(std::string("{\"categories\": [") + kCategories + "], \"annotations\": [" + annotations +
                   "], \"images\": [" + kImages + "]}")
                .lines,
            usual.lines);
}

TEST_F(CocoImport, CategoriesThatAreUsedAreNumberedFromZeroInTheListsOrder) {
  const Imported result = import(instances(annotation(7, 18, kRuns) + "," + annotation(7, 90, kRuns)));
  EXPECT_EQ(result.classes.names(), (Names{"toothbrush", "a \"dog\""}));
  EXPECT_LT(result.lines.find("\"class_id\": 1"), result.lines.find("\"class_id\": 0"));
}

TEST_F(CocoImport, ByInstanceEachOfAnImageHasAColourOfItsOwn) {
  source_.classBy = ClassBy::Instance;
  const Imported result = import(instances(annotation(7, 1, kRuns) + "," + annotation(7, 1, kRuns) + "," +
                                           annotation(5, 1, "[[0, 0, 2, 0, 2, 3]]")));
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.classes.names(), (Names{"instance 0", "instance 1"}));
}

TEST_F(CocoImport, ByTrackAnObjectHasOneColourInAllImages) {
  source_.classBy = ClassBy::Track;
  const std::string good = annotation(7, 1, kRuns, ", \"track_id\": 30") + "," +
                           annotation(7, 1, kRuns, ", \"track_id\": 10") + "," +
                           annotation(5, 1, "[[0, 0, 2, 0, 2, 3]]", ", \"track_id\": 30");
  EXPECT_EQ(import(instances(good)).classes.names(), (Names{"track 30", "track 10"}));
  expectRefused(instances(good + "," + annotation(7, 1, kRuns)), "annotations[3]: has no \"track_id\"");
}

TEST_F(CocoImport, CrowdsAreDrawnLikeAnyOther) {
  const Imported result = import(instances(annotation(7, 1, kRuns, ", \"iscrowd\": 1")));
  EXPECT_EQ(result.error, "");
  EXPECT_NE(result.lines.find("\"counts\": \"011000000\""), std::string::npos) << result.lines;
}

TEST_F(CocoImport, AMaskWithoutAnyPixelIsKeptWithTheWholeImageAsItsBox) {
  const Imported result = import(instances(annotation(7, 1, R"({"size": [2, 4], "counts": [8]})")));
  EXPECT_NE(result.lines.find(R"("x": 0, "y": 0, "w": 4, "h": 2,)"), std::string::npos) << result.lines;
}

TEST_F(CocoImport, AnnotationsWithoutASegmentationArePassedOver) {
  const Imported result = import(instances(R"({"image_id": 7, "category_id": 1}, )" + annotation(7, 1, "[]") +
                                           "," + annotation(7, 1, "null") + "," + annotation(7, 1, kRuns)));
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.passedOver.count, 3U);
  EXPECT_EQ(result.passedOver.first, folder_.path("c.json") + ": annotations[0]");
}

TEST_F(CocoImport, AListOfResultsHasTheImagesOfItsResultsByTheirNumbers) {
  const Imported result =
      import("[" + annotation(900, 18, kRuns, ", \"score\": 0.5") + "," +
             annotation(30, 3, R"({"size": [1, 1], "counts": "01"})", ", \"score\": 1e-3") + "]");
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(
      result.lines.find(R"({"frame": 0, "producer": "p", "detections": [{"x": 0, "y": 0, "w": 1, "h": 1, )"
                        R"("class_id": 0, "score": 1e-3,)"),
      0U)
      << result.lines;
  EXPECT_EQ(result.classes.names(), (Names{"category 3", "category 18"}));
}

TEST_F(CocoImport, PicturesOfAFolderAreTheFramesSortedByName) {
  std::filesystem::create_directory(folder_.path("pictures"));
  source_.images = folder_.path("pictures");
  for (const char* name : {"a.jpg", "aa.png", "b.jpg"}) folder_.write(std::string("pictures/") + name, "");
  const Imported result = import(instances(annotation(7, 1, kRuns)));
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(
      result.lines.find("{\"frame\": 0, \"image\": \"a.jpg\", \"producer\": \"p\", \"detections\": []}\n"
                        "{\"frame\": 1, \"image\": \"aa.png\", \"producer\": \"p\", \"detections\": []}\n"
                        "{\"frame\": 2, \"image\": \"b.jpg\", \"producer\": \"p\", \"detections\": [{"),
      0U)
      << result.lines;
  std::filesystem::remove(folder_.path("pictures/b.jpg"));
  EXPECT_EQ(import(instances("")).error,
            folder_.path("pictures") + ": pictures of " + folder_.path("c.json") + " are missing: b.jpg");
}

TEST_F(CocoImport, ThePictureOfAResultHasItsImagesNumber) {
  std::filesystem::create_directory(folder_.path("pictures"));
  source_.images = folder_.path("pictures");
  folder_.write("pictures/000000000009.jpg", "");
  folder_.write("pictures/000000000900.jpg", "");
  const std::string known = annotation(900, 1, kRuns);
  EXPECT_EQ(
      import("[" + known + "]")
          .lines.find(
              "{\"frame\": 0, \"image\": \"000000000009.jpg\", \"producer\": \"p\", \"detections\": []}\n"
              "{\"frame\": 1, \"image\": \"000000000900.jpg\", \"producer\": \"p\", \"detections\": [{"),
      0U);
  std::string unknown;
  for (int image = 1; image <= 7; ++image) unknown += "," + annotation(image, 1, kRuns);
  EXPECT_EQ(import("[" + known + unknown + "]").error, folder_.path("pictures") + ": pictures of " +
                                                           folder_.path("c.json") +
                                                           " are missing: 1, 2, 3, 4, 5 and 2 more");
}

TEST_F(CocoImport, RefusesWhatIsNoJson) {
  expectRefused("", "not JSON: The document is empty.");
  expectRefused("rubbish", "is no COCO file: it begins neither with { nor with [");
  const std::string good = instances(annotation(7, 1, kRuns));
  for (std::size_t size = 1; size < good.size(); size += 7) {
    expectRefused(good.substr(0, size), "not JSON: the text is cut off (byte " + std::to_string(size) + ")");
  }
  expectRefused(good + "x", "not JSON: The document root must not be followed by other values.");
  expectRefused(good + std::string(1, '\0'), "not JSON: there is a byte of 0 after it");
  const std::string nan = instances(annotation(7, 1, "[[NaN, 0, 1, 1, 2, 2]]"));
  expectRefused(nan, "not JSON: Invalid value. (byte " + std::to_string(nan.find("NaN")) +
                         ") (JSON has no NaN and no Infinity)");
  const std::string infinite = instances(annotation(7, 1, "[[-Infinity, 0, 1, 1, 2, 2]]"));
  expectRefused(infinite, "not JSON: Invalid value. (byte " + std::to_string(infinite.find("Infinity")) +
                              ") (JSON has no NaN and no Infinity)");
  expectRefused(instances(annotation(7, 1, "[[1e999, 0, 1, 1, 2, 2]]")), "not JSON: Number too big");
}

TEST_F(CocoImport, TakesAByteOrderMarkOfUtf8AndNamesOtherEncodings) {
  const std::string good = instances(annotation(7, 1, kRuns));
  EXPECT_EQ(import("\xEF\xBB\xBF" + good).lines, import(good).lines);
  EXPECT_EQ(import("\xEF\xBB\xBF" + good).error, "");
  std::string wide;
  for (const char letter : good) wide.append({letter, '\0'});
  expectRefused("\xFF\xFE" + wide, "not JSON (the text is UTF-16LE and has to be UTF-8)");
  expectRefused(wide, "not JSON (the text is UTF-16LE and has to be UTF-8)");
}

TEST_F(CocoImport, RefusesWhatIsNoCocoFile) {
  expectRefused("3", "is no COCO file: it begins neither with { nor with [");
  expectRefused("{}", "is no COCO file: it has no list \"images\"");
  expectRefused("{\"images\": [], \"annotations\": {}}", "is no COCO file: it has no list \"annotations\"");
  expectRefused("[1]", "results[0]: is no object");
  expectRefused("[{\"image_id\": 1}, [2]]", "results[1]: is no object");
  expectRefused("[{\"frame\": 0}]", "results[0]: has no \"image_id\"");
}

TEST_F(CocoImport, RefusesImagesAndCategoriesThatAreNone) {
  const auto withImages = [](const std::string& images) {
    return "{\"annotations\": [], \"images\": [" + images + "]}";
  };
  const std::string good = R"({"id": 1, "file_name": "a", "width": 1, "height": 1})";
  expectRefused(withImages(good + ", {\"id\": 2}"), "images[1]: has no \"file_name\"");
  expectRefused(withImages(R"({"id": "1", "file_name": "a"})"), "images[0]: \"id\" is no whole number");
  expectRefused(withImages(R"({"id": 1.5, "file_name": "a"})"), "images[0]: \"id\" is no whole number");
  expectRefused(withImages(R"({"id": 1, "file_name": ["a"]})"), "images[0]: \"file_name\" is no text");
  expectRefused(withImages(R"({"id": 1, "file_name": "a/", "width": 1, "height": 1})"),
                "images[0]: \"file_name\" names no file");
  expectRefused(withImages(R"({"id": 1, "file_name": "a", "width": 0, "height": 1})"),
                "images[0]: \"width\" is 0");
  expectRefused(withImages(R"({"id": 1, "file_name": "a", "width": 1, "height": 2147483648})"),
                "images[0]: \"height\" is 2147483648");
  expectRefused(withImages(good + "," + good), "images: several have the \"id\" 1");
  expectRefused("{\"annotations\": [], \"images\": [], \"categories\": [{\"id\": 1}]}",
                "categories[0]: has no \"name\"");
}

// The lines and the legend would be no JSON. Python writes a byte of a name that is no text as \udcff.
TEST_F(CocoImport, RefusesNamesThatAreNotUtf8) {
  for (const char* name : {"a\xFF", "\xED\xA0\x80", "\\udcff"}) {
    const std::string text = std::string("\"") + name + "\"";
    expectRefused(
        R"({"annotations": [], "images": [{"id": 1, "width": 1, "height": 1, "file_name": )" + text + "}]}",
        "images[0]: \"file_name\" is not UTF-8");
    expectRefused(R"({"annotations": [], "images": [], "categories": [{"id": 1, "name": )" + text + "}]}",
                  "categories[0]: \"name\" is not UTF-8");
  }
}

TEST_F(CocoImport, RefusesPicturesWhoseNamesAreNotUtf8) {
  std::filesystem::create_directory(folder_.path("pictures"));
  source_.images = folder_.path("pictures");
  const std::string picture = folder_.write("pictures/\xE4.png", "");
  EXPECT_EQ(import(instances("")).error, picture + ": the name is not UTF-8, as the lines need it");
}

// Lines name their pictures without folders, so the masks of both would be drawn on one.
TEST_F(CocoImport, TwoImagesOfOneNameAreRefusedWithAFolderOfPicturesAndNumberedWithout) {
  const std::string file = R"({"annotations": [], "images": [
    {"id": 4, "file_name": "cam0/1.png", "width": 1, "height": 1},
    {"id": 9, "file_name": "cam1/1.png", "width": 1, "height": 1}]})";
  const Imported result = import(file);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.lines, R"({"frame": 0, "producer": "p", "detections": []})"
                          "\n"
                          R"({"frame": 1, "producer": "p", "detections": []})"
                          "\n");
  std::filesystem::create_directory(folder_.path("pictures"));
  folder_.write("pictures/1.png", "");
  source_.images = folder_.path("pictures");
  expectRefused(file, "images: those with the \"id\" 4 and 9 are both 1.png");
}

TEST_F(CocoImport, RefusesAnnotationsOfNothing) {
  expectRefused(
      instances(annotation(7, 1, kRuns) + R"(, {"image_id": 7, "segmentation": [[0, 0, 2, 0, 2, 2]]})"),
      "annotations[1]: has no \"category_id\"");
}

TEST_F(CocoImport, RefusesSegmentationsThatAreNone) {
  const std::string good = annotation(5, 1, "[[0, 0, 2, 0, 2, 3]]");
  const auto refused = [&](const std::string& segmentation, const std::string& what) {
    expectRefused(instances(good + "," + annotation(7, 1, segmentation)), "annotations[1]: " + what);
  };
  refused("[[0, 0, 2, 0, 2]]", "\"segmentation\" is not a list of lists");
  refused("[[0, 0, 2, 0]]", "\"segmentation\" is not a list of lists");
  refused("[[0, 0, 2, 0, 2, \"3\"]]", "\"segmentation\" is not a list of lists");
  refused("[[0, 0, 2, 0, 2, 1e300]]", "\"segmentation\" has a coordinate beyond");
  refused("true", "\"segmentation\" is neither a list of polygons nor run lengths");
  refused("\"01\"", "\"segmentation\" is neither a list of polygons nor run lengths");
  refused(R"({"size": [2, 4]})", "\"segmentation\" has no \"counts\"");
  refused(R"({"counts": [8]})", "\"counts\" needs \"size\"");
  refused(R"({"size": [2, 4], "counts": [1, 8]})", "\"counts\" is for more pixels");
  refused(R"({"size": [2, 4], "counts": "13"})", "\"counts\" is for fewer pixels");
  refused(R"({"size": [4, 2], "counts": [8]})", "the mask is 2x4, its image 4x2");
}

TEST_F(CocoImport, HostileNestingAndValuesWithoutAnEndTakeNoMemory) {
  expectRefused(std::string(1'000'000, '['), "results[0]: is no object");
  expectRefused("{\"info\": " + std::string(1'000'000, '['), "nested too deeply (byte 72)");
  expectRefused(instances("{\"image_id\": 7, \"more\": " + std::string(1'000'000, '[')), "nested too deeply");
  // The reader would keep a text as a whole.
  expectRefused("{\"info\": \"" + std::string(JsonFileStream::kMostValueBytes + (1 << 17), 'x'),
                "a value from byte 7 on is longer than 64 MiB");
}

TEST_F(CocoImport, AnAnnotationOfMoreThan4MibIsRefused) {
  const std::string blanks(AnnotationPlace::kMostBytes, ' ');
  expectRefused(instances(annotation(7, 1, "[[" + blanks + "0, 0, 2, 0, 2, 3]]")),
                "annotations[0]: is longer than 4194303 bytes");
}

TEST_F(CocoImport, APipeIsRead) {
  const std::string path = folder_.path("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const std::string text =
      instances(annotation(7, 1, kRuns) + "," + annotation(5, 1, "[[0, 0, 2, 0, 2, 3]]"));
  std::thread writer([&] { folder_.write("pipe", text); });
  const Imported result = imported([&](DetectionLines& lines, ClassTable& classes) {
    return importCoco({path, std::nullopt, ClassBy::Category}, lines, classes);
  });
  writer.join();
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.lines, import(text).lines);
}

}  // namespace
}  // namespace segmask
