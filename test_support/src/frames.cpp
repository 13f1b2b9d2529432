#include "test_support/frames.h"

#include <random>

std::size_t frameBytes(int width, int height) {
  const auto luma = static_cast<std::size_t>(width * height);
  return luma + 2 * static_cast<std::size_t>(((width + 1) / 2) * ((height + 1) / 2));
}

std::string noiseFrames(int width, int height, int count) {
  std::minstd_rand random(7);
  std::string bytes(frameBytes(width, height) * static_cast<std::size_t>(count), '\0');
  for (char& byte : bytes) byte = static_cast<char>(random() >> 8);
  return bytes;
}

std::string flatFrames(int width, int height, int count) {
  std::string bytes;
  for (int frame = 0; frame < count; ++frame) {
    bytes.append(static_cast<std::size_t>(width * height), static_cast<char>(40 + 4 * frame));
    const std::size_t pairs = static_cast<std::size_t>(((width + 1) / 2) * ((height + 1) / 2));
    for (std::size_t i = 0; i < pairs; ++i) bytes += "\x78\x88";
  }
  return bytes;
}

std::string fullMaskLine(int frame, const std::string& producer) {
  return "{\"frame\": " + std::to_string(frame) + ", \"producer\": \"" + producer +
         "\", \"detections\": [{\"x\": 0, \"y\": 0, \"w\": 9999, \"h\": 9999, \"class_id\": 0, \"score\": "
         "0.9, "
         "\"class_info\": \"SEG1|1|1|AQ==\"}]}\n";
}
