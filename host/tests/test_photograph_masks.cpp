// The masks of photographs, as people annotate them, compared with digests of what the COCO data set's own
// tools make of the same annotations. The photographs' data is not part of the project: these tests run where
// it lies beside the project, in ../shared/data, or where SEG_MASK_DATA says.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

#include "core/SwJsonArray.h"
#include "core/SwJsonDocument.h"
#include "host/DetectionStream.h"
#include "test_support/TempFolder.h"

namespace segmask {
namespace {

std::string annotationsFile() {
  const char* const folder = std::getenv("SEG_MASK_DATA");
  return std::string(folder ? folder : PHOTOGRAPH_DATA) + "/coco/instances.json";
}

std::string json(const SwJsonValue& value) {
  SwString text;
  SwJsonDocument().generateJson(value, text, false, 0, SwString());
  return text.str();
}

/// FNV-1a, 64 bits.
uint64_t digest(const std::string& text) {
  uint64_t hash = 14695981039346656037U;
  for (const char byte : text) hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211U;
  return hash;
}

/// By the annotation's number: the digest of its mask's text.
std::map<int64_t, std::string> expectedDigests() {
  std::map<int64_t, std::string> digests;
  std::ifstream file(PHOTOGRAPH_DIGESTS);
  int64_t annotation = 0;
  for (std::string text; file >> annotation >> text;) digests[annotation] = text;
  return digests;
}

/// The mask text of an annotation in a photograph of this size.
std::string maskText(const TempFolder& folder, const SwJsonValue& segmentation, render_base::FrameSize size) {
  const std::string mask =
      segmentation.isArray() ? "{\"polygon\":" + json(segmentation) + "}" : json(segmentation);
  DetectionStream stream(
      folder.write("d.jsonl", "{\"frame\":0,\"producer\":\"p\",\"detections\":[{\"mask\":" + mask + "}]}"),
      size);
  const DetectionLine line = stream.take(0).at(0);
  return (*(*line.payload.object)["detections"].array())[0].object()->find("class_info")->text();
}

TEST(PhotographMasks, AreThoseOfTheDataSetsOwnTools) {
  if (!std::filesystem::exists(annotationsFile())) GTEST_SKIP() << "there is no " << annotationsFile();
  SwJsonDocument document;
  SwString error;
  ASSERT_TRUE(document.loadFromJson(readFile(annotationsFile()), error)) << error.str();
  const SwJsonObject& data = *document.root().object();

  std::map<int64_t, render_base::FrameSize> sizes;
  for (const SwJsonValue& image : *data["images"].array()) {
    const SwJsonObject& members = *image.object();
    sizes[members["id"].integer()] = {static_cast<int>(members["width"].integer()),
                                      static_cast<int>(members["height"].integer())};
  }
  const TempFolder folder;
  const std::map<int64_t, std::string> expected = expectedDigests();
  const SwJsonArray& annotations = *data["annotations"].array();
  EXPECT_EQ(annotations.size(), expected.size());
  for (const SwJsonValue& annotation : annotations) {
    const SwJsonObject& members = *annotation.object();
    const std::string text =
        maskText(folder, members["segmentation"], sizes.at(members["image_id"].integer()));
    EXPECT_EQ(std::to_string(digest(text)), expected.at(members["id"].integer())) << members["id"].integer();
  }
}

}  // namespace
}  // namespace segmask
