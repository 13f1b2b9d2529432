// Bad input to `segmask import`.

#include <unistd.h>

#include <filesystem>

#include "tests/BadInput.h"
#include "video/mask_picture.h"

namespace fs = std::filesystem;

namespace {

const char kRuns[] = R"({"size": [4, 8], "counts": [0, 16, 16]})";
const char kPolygon[] = "[[0, 0, 4, 0, 4, 4, 0, 4]]";

std::string annotation(const std::string& segmentation, int image = 3, int category = 61) {
  return "{\"image_id\": " + std::to_string(image) + ", \"category_id\": " + std::to_string(category) +
         ", \"segmentation\": " + segmentation + "}";
}

/// One image, a good annotation and these.
std::string instances(const std::string& annotations) {
  return R"({"images": [{"id": 3, "file_name": "a.png", "width": 8, "height": 4}], "annotations": [)" +
         annotation(kRuns) + ", " + annotations + R"(], "categories": [{"id": 61, "name": "cake"}]})";
}

const std::string kGood = instances(annotation(kPolygon));

class BadImport : public BadInput {
 protected:
  BadImport() {
    folder_.write("good.json", kGood);
    for (const char* folder : {"masks", "pics"}) fs::create_directory(path(folder));
    mask("0_1.png");
    folder_.write("pics/a.png", "a picture");
  }

  /// A file of masks, 2 x 2.
  void mask(const std::string& name, int width = 2) const {
    folder_.write("masks/" + name, segmask::encodeGreyPng({0, 0, 0, 1}, width, 4 / width));
  }

  void import(const Arguments& arguments) const {
    Arguments all{"import"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    run(all);
  }

  /// Nothing appears on standard output either.
  void coco(const std::string& name) const {
    for (const std::string& output : {path("d.jsonl"), std::string("-")}) {
      import({"coco", path(name), "--output", output, "--legend", path("legend.csv")});
    }
  }

  void bad(const std::string& text) const {
    folder_.write("bad.json", text);
    coco("bad.json");
  }

  void masks(const Arguments& more = {}) const {
    Arguments all{"masks", path("masks"), "--output", path("d.jsonl")};
    all.insert(all.end(), more.begin(), more.end());
    import(all);
  }

  void output(const std::string& output, const Arguments& more = {}) const {
    Arguments all{"coco", path("good.json"), "--output", output};
    all.insert(all.end(), more.begin(), more.end());
    import(all);
    EXPECT_EQ(readFile(path("good.json")), kGood);
    EXPECT_EQ(readFile(path("pics/a.png")), "a picture");
  }
};

// ---- COCO's files

TEST_F(BadImport, CocoMissing) {
  coco("none.json");
}

TEST_F(BadImport, CocoIsAFolder) {
  coco("masks");
}

TEST_F(BadImport, CocoCutOff) {
  bad(kGood.substr(0, 100));
}

TEST_F(BadImport, CocoThatIsNoJson) {
  for (const char* text : {"image_id,category_id\n", "3"}) bad(text);
}

TEST_F(BadImport, CocoWithoutImages) {
  for (const char* text : {"{}", "{\"annotations\": []}"}) bad(text);
}

TEST_F(BadImport, DetectionLines) {
  bad("[{\"frame\": 0, \"producer\": \"p\", \"detections\": []}]");
}

TEST_F(BadImport, ImageUnknown) {
  bad(instances(annotation(kRuns, 4)));
}

TEST_F(BadImport, CategoryUnknown) {
  bad(instances(annotation(kRuns, 3, 62)));
}

TEST_F(BadImport, ImageWithoutAName) {
  bad(R"({"images": [{"id": 3}], "annotations": []})");
}

TEST_F(BadImport, SegmentationThatIsNone) {
  for (const char* segmentation : {"true", "\"01\"", "3"}) bad(instances(annotation(segmentation)));
}

TEST_F(BadImport, RunsOfAnotherSize) {
  bad(instances(annotation(R"({"size": [8, 4], "counts": [32]})")));
}

TEST_F(BadImport, CountsTooMany) {
  bad(instances(annotation(R"({"size": [4, 8], "counts": [0, 16, 17]})")));
}

TEST_F(BadImport, PolygonThatIsNone) {
  for (const char* polygon : {"[[0, 0, 2, 0]]", "[[0, 0, 2, 0, 2]]", "[[0, 0, 2, 0, 2, \"3\"]]"}) {
    bad(instances(annotation(polygon)));
  }
}

TEST_F(BadImport, PolygonInResults) {
  bad("[" + annotation(kRuns) + ", " + annotation(kPolygon, 4) + "]");
}

TEST_F(BadImport, ResultsOfTwoSizes) {
  bad("[" + annotation(kRuns) + ", " + annotation(R"({"size": [4, 4], "counts": [16]})") + "]");
}

TEST_F(BadImport, NestedTooDeep) {
  bad("{\"info\": " + std::string(1'000'000, '['));
}

TEST_F(BadImport, PicturesMissing) {
  output(path("d.jsonl"), {"--images", path("none")});
}

TEST_F(BadImport, PictureOfAnImageMissing) {
  fs::rename(path("pics/a.png"), path("pics/b.png"));
  import({"coco", path("good.json"), "--images", path("pics"), "--output", path("d.jsonl")});
}

// ---- Folders of masks

TEST_F(BadImport, MasksMissing) {
  import({"masks", path("none"), "--output", path("d.jsonl")});
}

TEST_F(BadImport, MasksAreAFile) {
  import({"masks", path("good.json"), "--output", path("d.jsonl")});
}

TEST_F(BadImport, MasksEmpty) {
  fs::remove(path("masks/0_1.png"));
  masks();
}

TEST_F(BadImport, MaskWhoseNameDoesNotFit) {
  mask("cat.png");
  masks();
}

TEST_F(BadImport, MaskThatIsNoPng) {
  folder_.write("masks/0_2.png", "no PNG file");
  masks();
}

TEST_F(BadImport, MaskCutOff) {
  const std::string whole = readFile(path("masks/0_1.png"));
  folder_.write("masks/0_2.png", whole.substr(0, whole.size() - 20));
  masks();
}

TEST_F(BadImport, MasksOfTwoSizes) {
  mask("0_2.png", 4);
  masks();
}

TEST_F(BadImport, TwoOfOneMask) {
  mask("00_1.png");
  masks();
}

TEST_F(BadImport, MaskWithoutAPicture) {
  mask("1_1.png");
  masks({"--images", path("pics")});
}

TEST_F(BadImport, PatternThatIsNone) {
  masks({"--pattern", "x"});
}

// ---- Outputs

TEST_F(BadImport, OutputMissing) {
  import({"coco", path("good.json")});
}

TEST_F(BadImport, OutputIsAFolder) {
  output(path("pics"));
}

TEST_F(BadImport, OutputInAMissingFolder) {
  output(path("none/d.jsonl"));
}

TEST_F(BadImport, OutputIsTheImport) {
  output(path("./good.json"));
  output("-", {"--legend", path("./good.json")});
}

// The import would succeed, and the file that it came from would be gone.
TEST_F(BadImport, OutputIsAMask) {
  const std::string before = readFile(path("masks/0_1.png"));
  fs::create_symlink("masks/0_1.png", path("link"));
  for (const char* name : {"masks/0_1.png", "masks/../masks/0_1.png", "link"}) {
    import({"masks", path("masks"), "--output", path(name)});
  }
  EXPECT_EQ(readFile(path("masks/0_1.png")), before);
}

TEST_F(BadImport, OutputIsAPicture) {
  folder_.write("pics/c.JPG", "a picture");
  fs::create_symlink("pics/a.png", path("legend.csv"));
  for (const char* name : {"pics/a.png", "pics/c.JPG"}) {
    output(path(name), {"--images", path("pics")});
    import({"masks", path("masks"), "--output", path(name), "--images", path("pics")});
  }
  output("-", {"--legend", path("legend.csv"), "--images", path("pics")});
}

TEST_F(BadImport, LegendOfNoEnding) {
  output("-", {"--legend", path("legend.txt")});
}

TEST_F(BadImport, LegendIsTheOutput) {
  output(path("x.csv"), {"--legend", path("x.csv")});
  run({"import", "coco", "good.json", "-o", "x.json", "--legend", "./x.json"},
      [this] { EXPECT_EQ(chdir(path("").c_str()), 0); });
}

TEST_F(BadImport, ClassByThatIsNone) {
  output("-", {"--class-by", "color"});
}

TEST_F(BadImport, FormatUnknown) {
  import({});
  import({"voc", path("good.json")});
}

TEST_F(BadImport, NothingToImport) {
  import({"coco", "--output", "-"});
}

}  // namespace
