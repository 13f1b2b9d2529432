#include "mask_encoder.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace motion_producer {
namespace {

std::vector<uint8_t> packBits(const cv::Mat& mask) {
  std::vector<uint8_t> bytes((mask.total() + 7) / 8, 0);
  std::size_t pixel = 0;
  for (int y = 0; y < mask.rows; ++y) {
    const uint8_t* row = mask.ptr<uint8_t>(y);
    for (int x = 0; x < mask.cols; ++x, ++pixel) {
      if (row[x] != 0) bytes[pixel / 8] = static_cast<uint8_t>(bytes[pixel / 8] | (1U << (pixel % 8)));
    }
  }
  return bytes;
}

std::string toBase64(const std::vector<uint8_t>& bytes) {
  constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t left = bytes.size() - i;
    uint32_t group = static_cast<uint32_t>(bytes[i]) << 16;
    if (left > 1) group |= static_cast<uint32_t>(bytes[i + 1]) << 8;
    if (left > 2) group |= bytes[i + 2];
    text += alphabet[(group >> 18) & 63U];
    text += alphabet[(group >> 12) & 63U];
    text += left > 1 ? alphabet[(group >> 6) & 63U] : '=';
    text += left > 2 ? alphabet[group & 63U] : '=';
  }
  return text;
}

}  // namespace

std::string encodeMask(const cv::Mat& mask) {
  return "SEG1|" + std::to_string(mask.cols) + "|" + std::to_string(mask.rows) + "|" +
         toBase64(packBits(mask));
}

}  // namespace motion_producer
