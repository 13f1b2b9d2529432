#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "import/importers.h"
#include "io/Interrupt.h"
#include "io/UserError.h"
#include "test_support/TempFolder.h"
#include "video/mask_picture.h"

namespace segmask {
namespace {

// Large, so that an image's masks take seconds: a user who waits for that one time in all of them is enough.
constexpr int kSide = 2048;
constexpr std::size_t kPixels = std::size_t{kSide} * kSide;
constexpr std::size_t kMasks = 250;
constexpr std::size_t kAnnotations = 700;

bool holdsBytes(const std::string& folder) {
  std::error_code error;
  using Entries = std::filesystem::recursive_directory_iterator;
  for (Entries entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::error_code ignored;
    if (entry->is_regular_file(ignored) && entry->file_size(ignored) > 0 && !ignored) return true;
  }
  return false;
}

/// Runs importAll(lines, classes) and asks it to stop when the first lines are written. Gives how many
/// detections it had taken at its end.
template <class Import>
uint64_t detectionsOfStopped(const Import& importAll) {
  const TempFolder folder;
  const Interrupt interrupt;
  TextOutput output(folder.path("lines"));
  DetectionLines lines(output, "p");
  ClassTable classes;
  std::atomic<bool> hasEnded = false;
  std::thread user([&] {
    while (!hasEnded && !holdsBytes(folder.path(""))) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    interrupt.request();
  });
  try {
    importAll(lines, classes);
  } catch (const UserError&) {
    // What the request cuts short may look like bad input.
  }
  hasEnded = true;
  user.join();
  return lines.detections();
}

TEST(StoppedImport, EndsWithinAnImageOfCocosFile) {
  // The first one's text fills a block of the output.
  std::string polygon = "[0, 0";
  for (int point = 1; point < 20'000; ++point) polygon += ", 0, 0";
  const std::string side = std::to_string(kSide);
  std::string file = R"({"images": [{"id": 1, "file_name": "a", "width": )" + side + R"(, "height": )" +
                     side + R"(}], "categories": [{"id": 1, "name": "a"}], "annotations": [)" +
                     R"({"image_id": 1, "category_id": 1, "segmentation": [)" + polygon + "]]}";
  for (std::size_t i = 1; i < kAnnotations; ++i) {
    file += R"(, {"image_id": 1, "category_id": 1, "segmentation": {"size": [)" + side + ", " + side +
            R"(], "counts": [0, )" + std::to_string(kPixels) + "]}}";
  }
  const TempFolder folder;
  const std::string path = folder.write("c.json", file + "]}");
  const uint64_t taken = detectionsOfStopped([&](DetectionLines& lines, ClassTable& classes) {
    importCoco({path, std::nullopt, ClassBy::Category}, lines, classes);
  });
  EXPECT_GE(taken, 1U);
  EXPECT_LT(taken, kAnnotations);
}

TEST(StoppedImport, EndsWithinAFileOfManyMasks) {
  // The value 1 as a chessboard, whose run lengths fill a block of the output, each of the others in one
  // pixel.
  std::vector<uint8_t> pixels(kPixels);
  for (std::size_t i = 0; i < kPixels / 8; ++i) pixels[i] = (i + i / kSide) % 2;
  for (std::size_t value = 2; value <= kMasks; ++value) {
    pixels[kPixels - value] = static_cast<uint8_t>(value);
  }
  const TempFolder folder;
  folder.write("0.png", encodeGreyPng(pixels, kSide, kSide));
  const uint64_t taken = detectionsOfStopped([&](DetectionLines& lines, ClassTable& classes) {
    importMasks({folder.path(""), std::nullopt, ClassBy::Track}, "{frame}.png", lines, classes);
  });
  EXPECT_GE(taken, 1U);
  EXPECT_LT(taken, kMasks);
}

}  // namespace
}  // namespace segmask
