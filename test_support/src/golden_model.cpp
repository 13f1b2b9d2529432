#include "test_support/golden_model.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace golden {
namespace {

std::vector<std::string> cutAtBars(const std::string& text) {
  std::vector<std::string> fields(1);
  for (const char c : text) {
    if (c == '|') {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

// The decimal number at the start of a field: blanks, one sign, digits; whatever follows is ignored. Nothing
// when there is no digit or the number needs more than 32 bits.
std::optional<int> leadingNumber(const std::string& field) {
  std::size_t at = field.find_first_not_of(" \t\n\v\f\r");
  if (at == std::string::npos) return std::nullopt;
  const bool negative = field[at] == '-';
  if (field[at] == '-' || field[at] == '+') ++at;
  if (at >= field.size() || field[at] < '0' || field[at] > '9') return std::nullopt;
  int64_t number = 0;
  for (; at < field.size() && field[at] >= '0' && field[at] <= '9'; ++at) {
    number = number * 10 + (field[at] - '0');
    if (number > INT64_C(2147483648)) return std::nullopt;
  }
  if (negative) number = -number;
  if (number > INT32_MAX) return std::nullopt;
  return static_cast<int>(number);
}

// The value of a base64 digit, -1 for any other character.
int digitValue(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

// Lays all bits out in a row and cuts them into bytes; an incomplete last byte is dropped.
std::vector<uint8_t> decodeBase64(const std::string& text) {
  std::vector<bool> bits;
  for (const char c : text) {
    if (c == '=') break;
    const int value = digitValue(c);
    if (value < 0) continue;
    for (int place = 32; place >= 1; place /= 2) bits.push_back(value / place % 2 == 1);
  }
  std::vector<uint8_t> bytes;
  for (std::size_t at = 0; at + 8 <= bits.size(); at += 8) {
    int byte = 0;
    for (std::size_t k = 0; k < 8; ++k) byte = byte * 2 + (bits[at + k] ? 1 : 0);
    bytes.push_back(static_cast<uint8_t>(byte));
  }
  return bytes;
}

uint8_t toByte(float value) {
  return static_cast<uint8_t>(std::clamp(static_cast<int>(value), 0, 255));
}

// Whether the mask, stretched over the whole frame, covers the frame's pixel.
bool covers(const Mask& mask, int width, int height, int x, int y) {
  const int column = sourceIndex(x, width, mask.width);
  const int row = sourceIndex(y, height, mask.height);
  return mask.inside[static_cast<std::size_t>(row) * static_cast<std::size_t>(mask.width) +
                     static_cast<std::size_t>(column)];
}

// Whether the mask touches the 2x2 block of a chroma sample anywhere in the frame. The box does not count
// here.
bool touchesBlock(const Mask& mask, int width, int height, int cx, int cy) {
  for (int y = 2 * cy; y <= 2 * cy + 1; ++y) {
    for (int x = 2 * cx; x <= 2 * cx + 1; ++x) {
      if (x < width && y < height && covers(mask, width, height, x, y)) return true;
    }
  }
  return false;
}

// Reported producers come in the order of their reports, all others after them in the order of their bytes.
std::vector<std::string> producerOrder(const scene::Scene& scene) {
  std::vector<std::string> order;
  std::set<std::string> seen;
  for (const std::string& key : scene.reported) {
    if (!key.empty() && seen.insert(key).second) order.push_back(key);
  }
  std::set<std::string> others;
  for (const scene::Input& input : scene.inputs) {
    if (!input.producer.empty() && seen.count(input.producer) == 0) others.insert(input.producer);
  }
  order.insert(order.end(), others.begin(), others.end());
  return order;
}

}  // namespace

std::optional<Mask> readMask(const std::string& text) {
  if (text.substr(0, 5) != "SEG1|") return std::nullopt;
  const std::vector<std::string> fields = cutAtBars(text);
  if (fields.size() < 4) return std::nullopt;
  const std::optional<int> width = leadingNumber(fields[1]);
  const std::optional<int> height = leadingNumber(fields[2]);
  if (!width || !height || *width <= 0 || *height <= 0) return std::nullopt;
  const std::vector<uint8_t> bytes = decodeBase64(fields[3]);
  const int64_t pixels = static_cast<int64_t>(*width) * *height;
  if (static_cast<int64_t>(bytes.size()) < (pixels + 7) / 8) return std::nullopt;

  Mask mask;
  mask.width = *width;
  mask.height = *height;
  static const int kPlaces[8] = {1, 2, 4, 8, 16, 32, 64, 128};
  for (int64_t i = 0; i < pixels; ++i) {
    mask.inside.push_back(bytes[static_cast<std::size_t>(i / 8)] / kPlaces[i % 8] % 2 == 1);
  }
  return mask;
}

int sourceIndex(int at, int to, int from) {
  // The reciprocal of the ratio, not the ratio turned round: the two differ in the last bit, and that bit
  // decides where a boundary between two samples falls on a whole number.
  const double ratio = static_cast<double>(to) / from;
  const double step = 1.0 / ratio;
  return std::min(static_cast<int>(std::floor(at * step)), from - 1);
}

Colour classColour(int32_t class_id) {
  static const int kRgb[20][3] = {
      {255, 56, 56},  {255, 157, 151}, {255, 112, 31}, {255, 178, 29},  {207, 210, 49},
      {72, 249, 10},  {146, 204, 23},  {61, 219, 134}, {26, 147, 52},   {0, 212, 187},
      {44, 153, 168}, {0, 194, 255},   {52, 69, 147},  {100, 115, 255}, {0, 24, 236},
      {132, 56, 255}, {82, 0, 133},    {203, 56, 255}, {255, 149, 200}, {255, 55, 199},
  };
  const int64_t magnitude = class_id < 0 ? -static_cast<int64_t>(class_id) : class_id;
  const int* rgb = kRgb[magnitude % 20];
  const auto r = static_cast<float>(rgb[0]);
  const auto g = static_cast<float>(rgb[1]);
  const auto b = static_cast<float>(rgb[2]);
  Colour colour;
  colour.y = toByte((0.587F * g + 0.299F * r) + 0.114F * b);
  colour.u = toByte(((-0.169F * r - 0.331F * g) + 0.5F * b) + 128.0F);
  colour.v = toByte(((0.5F * r - 0.419F * g) - 0.081F * b) + 128.0F);
  return colour;
}

uint8_t blend(uint8_t old, uint8_t colour, float alpha) {
  const float rest = static_cast<float>(old) * (1.0F - alpha);
  return toByte(std::fma(static_cast<float>(colour), alpha, rest) + 0.5F);
}

std::optional<Rectangle> visiblePart(const scene::Detection& box, int width, int height) {
  const int64_t right = static_cast<int64_t>(box.x) + box.w;
  const int64_t bottom = static_cast<int64_t>(box.y) + box.h;
  Rectangle part;
  part.x0 = std::max<int64_t>(box.x, 0);
  part.y0 = std::max<int64_t>(box.y, 0);
  part.x1 = std::min<int64_t>(right, width) - 1;
  part.y1 = std::min<int64_t>(bottom, height) - 1;
  if (part.x1 < part.x0 || part.y1 < part.y0) return std::nullopt;
  return part;
}

Gathering gather(const scene::Scene& scene) {
  const auto cap = static_cast<std::size_t>(std::max(scene.settings.cap, 1));
  Gathering result;
  for (const std::string& producer : producerOrder(scene)) {
    if (result.detections.size() >= cap) break;
    std::vector<scene::Detection> delivered;
    bool lookback = false;
    for (const scene::Input& input : scene.inputs) {
      if (input.producer != producer) continue;
      lookback = lookback || input.uses_lookback;
      if (input.form == scene::PayloadForm::absent) continue;
      delivered.insert(delivered.end(), input.detections.begin(), input.detections.end());
    }
    if (lookback) ++result.lookback;
    if (delivered.empty()) ++result.missing;
    for (const scene::Detection& detection : delivered) {
      if (result.detections.size() < cap) result.detections.push_back(detection);
    }
  }
  return result;
}

void draw(std::vector<uint8_t>& frame, int width, int height, const scene::Detection& detection,
          float alpha) {
  const std::optional<Mask> mask = readMask(detection.mask);
  const std::optional<Rectangle> part = visiblePart(detection, width, height);
  if (!mask || !part) return;
  const Colour colour = classColour(detection.class_id);

  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const bool in_box = x >= part->x0 && x <= part->x1 && y >= part->y0 && y <= part->y1;
      if (!in_box || !covers(*mask, width, height, x, y)) continue;
      uint8_t& luma =
          frame[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
      luma = blend(luma, colour.y, alpha);
    }
  }

  // A sample is in the box when the box reaches its block from the left and from above, and goes on to the
  // block's second column and row. So a box that ends on an even column or row leaves that last block alone.
  const std::size_t luma_bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  for (int cy = 0; cy < scene::chromaRows(height); ++cy) {
    for (int cx = 0; 2 * cx < scene::chromaRowBytes(width); ++cx) {
      const bool in_box = 2 * cx + 1 >= part->x0 && 2 * cx + 1 <= part->x1 && 2 * cy + 1 >= part->y0 &&
                          2 * cy + 1 <= part->y1;
      if (!in_box || !touchesBlock(*mask, width, height, cx, cy)) continue;
      const std::size_t at =
          luma_bytes + static_cast<std::size_t>(cy) * static_cast<std::size_t>(scene::chromaRowBytes(width)) +
          static_cast<std::size_t>(2 * cx);
      frame[at] = blend(frame[at], colour.u, alpha);
      frame[at + 1] = blend(frame[at + 1], colour.v, alpha);
    }
  }
}

std::vector<uint8_t> expectedFrame(const scene::Scene& scene) {
  std::vector<uint8_t> frame = scene.frame;
  for (const scene::Detection& detection : gather(scene).detections) {
    if (detection.score < scene.settings.min_score) continue;
    draw(frame, scene.width, scene.height, detection, scene.settings.alpha);
  }
  return frame;
}

}  // namespace golden
