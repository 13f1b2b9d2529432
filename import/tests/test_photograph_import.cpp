// The photographs' annotations as they come out of an import and are read as detections, compared with
// digests of what the COCO data set's own tools make of them.

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "core/SwJsonArray.h"
#include "core/SwJsonDocument.h"
#include "host/DetectionStream.h"
#include "test_support/photographs.h"
#include "tests/imported.h"

namespace segmask {
namespace {

using Sizes = std::map<std::string, render_base::FrameSize>;  ///< by the picture's name

SwJsonObject parsed(const std::string& text) {
  SwJsonDocument document;
  SwString error;
  EXPECT_TRUE(document.loadFromJson(text, error)) << error.str();
  return document.object();
}

Sizes photographSizes() {
  Sizes sizes;
  SwJsonObject data = parsed(readFile(photographAnnotations()));
  for (const SwJsonValue& image : *data["images"].array()) {
    const SwJsonObject& members = *image.object();
    sizes[members["file_name"].text()] = {static_cast<int>(members["width"].integer()),
                                          static_cast<int>(members["height"].integer())};
  }
  return sizes;
}

TEST(PhotographImport, GivesTheMasksOfTheDataSetsOwnTools) {
  const std::string file = photographAnnotations();
  if (!std::filesystem::exists(file)) GTEST_SKIP() << "there is no " << file;
  const Imported result = imported([&](DetectionLines& lines, ClassTable& classes) {
    return importCoco({file, std::nullopt, ClassBy::Category}, lines, classes);
  });
  EXPECT_EQ(result.error, "");
  const Sizes sizes = photographSizes();
  std::map<int64_t, uint64_t> digests;
  const TempFolder folder;
  std::istringstream lines(result.lines);
  for (std::string line; std::getline(lines, line);) {
    const SwJsonObject members = parsed(line);
    DetectionStream stream(folder.write("d.jsonl", line), sizes.at(members["image"].text()));
    const DetectionLine read = stream.take(static_cast<uint64_t>(members["frame"].integer())).at(0);
    for (const SwJsonValue& detection : *(*read.payload.object)["detections"].array()) {
      digests[(*detection.object())["id"].integer()] = textDigest((*detection.object())["class_info"].text());
    }
  }
  EXPECT_EQ(digests, photographMaskDigests());
}

}  // namespace
}  // namespace segmask
