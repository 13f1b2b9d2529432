#include "test_support/scene.h"

#include <cstdio>
#include <ostream>
#include <utility>

namespace scene {
namespace {

const char* formName(PayloadForm form) {
  switch (form) {
    case PayloadForm::object:
      return "object";
    case PayloadForm::text:
      return "text";
    case PayloadForm::absent:
      break;
  }
  return "absent";
}

}  // namespace

std::string printable(const std::string& text) {
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F && c != '\\') {
      out += c;
      continue;
    }
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(byte));
    out += escape;
  }
  return out;
}

std::size_t frameBytes(int width, int height) {
  const auto luma = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  const auto chroma =
      static_cast<std::size_t>(chromaRowBytes(width)) * static_cast<std::size_t>(chromaRows(height));
  return luma + chroma;
}

std::vector<uint8_t> flatFrame(int width, int height, uint8_t y, uint8_t u, uint8_t v) {
  std::vector<uint8_t> frame(frameBytes(width, height), y);
  const auto luma = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  for (std::size_t at = luma; at + 1 < frame.size(); at += 2) {
    frame[at] = u;
    frame[at + 1] = v;
  }
  return frame;
}

std::vector<uint8_t> patternFrame(int width, int height) {
  std::vector<uint8_t> frame(frameBytes(width, height));
  // Odd steps visit all 256 values before one comes again.
  unsigned value = 7;
  for (uint8_t& byte : frame) {
    byte = static_cast<uint8_t>(value & 0xFFU);
    value += 73;
  }
  return frame;
}

std::string base64(const std::vector<uint8_t>& bytes) {
  static const char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t taken = bytes.size() - at < 3 ? bytes.size() - at : 3;
    unsigned group = 0;
    for (std::size_t k = 0; k < 3; ++k) group = group * 256 + (k < taken ? bytes[at + k] : 0U);
    for (std::size_t k = 0; k < 4; ++k) {
      text += k <= taken ? kDigits[(group >> (18 - 6 * k)) & 63U] : '=';
    }
  }
  return text;
}

std::string maskText(int width, int height, const std::vector<bool>& inside) {
  std::vector<uint8_t> bytes((inside.size() + 7) / 8, 0);
  for (std::size_t i = 0; i < inside.size(); ++i) {
    if (inside[i]) bytes[i / 8] = static_cast<uint8_t>(bytes[i / 8] | (1U << (i % 8)));
  }
  return "SEG1|" + std::to_string(width) + "|" + std::to_string(height) + "|" + base64(bytes);
}

std::string fullMask(int width, int height) {
  const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  return maskText(width, height, std::vector<bool>(count, true));
}

std::string chessMask(int width, int height) {
  std::vector<bool> inside;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) inside.push_back((x + y) % 2 == 0);
  }
  return maskText(width, height, inside);
}

Detection coverAll(int width, int height, int32_t class_id) {
  Detection detection;
  detection.w = width;
  detection.h = height;
  detection.class_id = class_id;
  detection.mask = fullMask(width, height);
  return detection;
}

Scene oneProducer(int width, int height, std::vector<Detection> detections) {
  Scene scene;
  scene.width = width;
  scene.height = height;
  scene.frame = patternFrame(width, height);
  Input input;
  input.producer = "p";
  input.detections = std::move(detections);
  scene.inputs.push_back(std::move(input));
  return scene;
}

std::vector<std::string> brokenMaskTexts() {
  return {
      "",
      "null",
      "SEG1",
      "SEG1|",
      "SEG1|4|2",
      "SEG1||||",
      "SEG1||2|Dw==",
      "SEG1|4||Dw==",
      "SEG1|4|2|",
      "SEG1|4|2||Dw==",
      "SEG1|4|2|=Dw=",
      "SEG1|4|2|D",
      "SEG1|4|2|-_",
      "SEG1|3|3|/w==",
      "SEG1|9|1|/w==",
      "seg1|4|2|Dw==",
      " SEG1|4|2|Dw==",
      "SEG2|4|2|Dw==",
      "SEG1:4:2:Dw==",
      "SEG1 |4|2|Dw==",
      "SEG1|0|2|Dw==",
      "SEG1|4|0|Dw==",
      "SEG1|-4|2|Dw==",
      "SEG1|4|-2|Dw==",
      "SEG1|-4|-2|Dw==",
      "SEG1|abc|2|Dw==",
      "SEG1|x4|2|Dw==",
      "SEG1|0x4|2|Dw==",
      "SEG1|+-4|2|Dw==",
      "SEG1|+ 4|2|Dw==",
      "SEG1|+|2|Dw==",
      "SEG1| |2|Dw==",
      "SEG1|4|99999999999|Dw==",
      "SEG1|2147483648|2|Dw==",
      "SEG1|-2147483649|2|Dw==",
      "SEG1|99999999999999999999999999|2|Dw==",
      // Numbers whose low bits alone would be good sides.
      "SEG1|4294967300|2|Dw==",
      "SEG1|4|4294967298|Dw==",
      "SEG1|-4294967292|2|Dw==",
      "SEG1|18446744073709551620|2|Dw==",
      // Products that vanish when they are formed in 32 or 64 bits without care.
      "SEG1|65536|65536|Dw==",
      "SEG1|2147483647|2147483647|Dw==",
      "SEG1|2|2147483647|Dw==",
      std::string("SEG1|\0004|2|Dw==", 14),
  };
}

std::vector<std::string> oddMaskTexts() {
  return {
      "SEG1|4|2|Dw==",
      "SEG1|4|2|Dw",
      "SEG1|4|2|D w==",
      "SEG1|4|2|Dw==|extra",
      "SEG1|4|2|Dw==|",
      "SEG1|4|2|Dw==/////",
      "SEG1|4|2|D*\nw\t-_.~",
      "SEG1|4|2|\200D\377w\240=",
      "SEG1|4|2|D/8AAAAA",
      "SEG1|4x|2|Dw==",
      "SEG1|4.9|2|Dw==",
      "SEG1|4 4|2|Dw==",
      "SEG1| \t\n\v\f\r4|2|Dw==",
      "SEG1|+4|+2|Dw==",
      "SEG1|0000000000000004|2|Dw==",
      "SEG1|4|2SEG1|Dw==",
      std::string("SEG1|4\0007|2|Dw==", 15),
      std::string("SEG1|4|2|D\0w==", 14),
  };
}

std::ostream& operator<<(std::ostream& out, const Scene& scene) {
  char settings[120];
  std::snprintf(settings, sizeof settings, "alpha %.9g (%a), min_score %.9g, cap %d",
                static_cast<double>(scene.settings.alpha), static_cast<double>(scene.settings.alpha),
                static_cast<double>(scene.settings.min_score), static_cast<int>(scene.settings.cap));
  out << scene.width << " x " << scene.height << ", " << settings << "\n  reported:";
  for (const std::string& key : scene.reported) out << " '" << printable(key) << "'";
  out << "\n";
  for (const Input& input : scene.inputs) {
    out << "  input of '" << printable(input.producer) << "' (" << formName(input.form)
        << (input.uses_lookback ? ", look-back" : "") << (input.by_name ? ", by name" : "") << ")\n";
    for (const Detection& d : input.detections) {
      out << "    box " << d.x << "," << d.y << " " << d.w << "x" << d.h << " class " << d.class_id
          << " score " << d.score << " mask " << printable(d.mask) << "\n";
    }
  }
  return out;
}

}  // namespace scene
