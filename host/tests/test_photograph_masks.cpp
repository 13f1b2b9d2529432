// The masks of photographs, as people annotate them, compared with digests of what the COCO data set's own
// tools make of the same annotations.

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "core/SwJsonArray.h"
#include "core/SwJsonDocument.h"
#include "host/DetectionStream.h"
#include "test_support/TempFolder.h"
#include "test_support/photographs.h"

namespace segmask {
namespace {

std::string json(const SwJsonValue& value) {
  SwString text;
  SwJsonDocument().generateJson(value, text, false, 0, SwString());
  return text.str();
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
  if (!std::filesystem::exists(photographAnnotations())) {
    GTEST_SKIP() << "there is no " << photographAnnotations();
  }
  SwJsonDocument document;
  SwString error;
  ASSERT_TRUE(document.loadFromJson(readFile(photographAnnotations()), error)) << error.str();
  const SwJsonObject& data = *document.root().object();

  std::map<int64_t, render_base::FrameSize> sizes;
  for (const SwJsonValue& image : *data["images"].array()) {
    const SwJsonObject& members = *image.object();
    sizes[members["id"].integer()] = {static_cast<int>(members["width"].integer()),
                                      static_cast<int>(members["height"].integer())};
  }
  const TempFolder folder;
  const std::map<int64_t, uint64_t> expected = photographMaskDigests();
  const SwJsonArray& annotations = *data["annotations"].array();
  EXPECT_EQ(annotations.size(), expected.size());
  for (const SwJsonValue& annotation : annotations) {
    const SwJsonObject& members = *annotation.object();
    const std::string text =
        maskText(folder, members["segmentation"], sizes.at(members["image_id"].integer()));
    EXPECT_EQ(textDigest(text), expected.at(members["id"].integer())) << members["id"].integer();
  }
}

}  // namespace
}  // namespace segmask
