#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace scene {

/// One detection as a producer means it.
struct Detection {
  int32_t x = 0;
  int32_t y = 0;
  int32_t w = 0;
  int32_t h = 0;
  int32_t class_id = 0;
  float score = 1.0F;
  std::string mask;  ///< the mask text, good or broken
};

/// How an input's payload reaches the plug-in.
enum class PayloadForm {
  object,  ///< a JSON object
  text,    ///< the same as JSON text; cannot carry a NaN score
  absent   ///< no payload at all
};

/// One delivery of one producer.
struct Input {
  std::string producer;
  std::vector<Detection> detections;
  PayloadForm form = PayloadForm::object;
  bool uses_lookback = false;
  bool by_name = false;  ///< the producer has no id, its name stands in
};

/// The plug-in's settings; the defaults are those of a new instance.
struct Settings {
  float alpha = 0.45F;
  float min_score = 0.0F;
  int32_t cap = 256;
};

/// Everything that decides one drawn frame.
struct Scene {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> frame;         ///< tightly packed NV12
  std::vector<std::string> reported;  ///< producers with a status report, in report order
  std::vector<Input> inputs;
  Settings settings;
};

/// Bytes of one row of chroma pairs, and how many rows there are. A last odd column or row has a sample too.
inline int chromaRowBytes(int width) {
  return 2 * ((width + 1) / 2);
}
inline int chromaRows(int height) {
  return (height + 1) / 2;
}

std::size_t frameBytes(int width, int height);

/// A frame of one luma value and one chroma pair.
std::vector<uint8_t> flatFrame(int width, int height, uint8_t y, uint8_t u, uint8_t v);

/// A frame in which neighbours differ in every plane, so that no misplaced byte goes unseen.
std::vector<uint8_t> patternFrame(int width, int height);

std::string base64(const std::vector<uint8_t>& bytes);

/// The text with a backslash, and what a terminal would swallow, as hexadecimal escapes.
std::string printable(const std::string& text);

/// The mask text of `width` x `height` pixels, row by row.
std::string maskText(int width, int height, const std::vector<bool>& inside);

/// The same with every pixel inside, and with every second one, as on a chess board.
std::string fullMask(int width, int height);
std::string chessMask(int width, int height);

/// A detection whose box and mask cover all of a frame of that size.
Detection coverAll(int width, int height, int32_t class_id = 0);

/// A scene over patternFrame with one producer "p" that delivered these detections.
Scene oneProducer(int width, int height, std::vector<Detection> detections);

/// Every way in which a mask text can be unusable, for a mask that would be 4 x 2.
std::vector<std::string> brokenMaskTexts();

/// Unusual texts that all mean 4 x 2 pixels of which the first row is inside.
std::vector<std::string> oddMaskTexts();

/// The scene in full, as a failed comparison prints it.
std::ostream& operator<<(std::ostream& out, const Scene& scene);

}  // namespace scene
