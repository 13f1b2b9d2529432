#include "test_support/scene_payload.h"

#include <cstdio>
#include <utility>

#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
#include "core/SwJsonValue.h"

namespace scene {
namespace {

std::string jsonString(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || c == '"' || c == '\\') {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
      out += escape;
    } else {
      out += c;
    }
  }
  return out + "\"";
}

std::string jsonText(const std::vector<Detection>& detections) {
  std::string text = "{\"detections\": [";
  const char* separator = "";
  for (const Detection& d : detections) {
    text += separator;
    text += "{\"x\": " + std::to_string(d.x) + ", \"y\": " + std::to_string(d.y) +
            ", \"w\": " + std::to_string(d.w) + ", \"h\": " + std::to_string(d.h) +
            ", \"class_id\": " + std::to_string(d.class_id) +
            ", \"score\": " + exactNumber(static_cast<double>(d.score)) +
            ", \"class_info\": " + jsonString(d.mask) + "}";
    separator = ", ";
  }
  return text + "]}";
}

SwJsonObject jsonObject(const std::vector<Detection>& detections) {
  SwJsonArray array;
  for (const Detection& d : detections) {
    SwJsonObject object;
    object.insert("x", d.x);
    object.insert("y", d.y);
    object.insert("w", d.w);
    object.insert("h", d.h);
    object.insert("class_id", d.class_id);
    object.insert("score", static_cast<double>(d.score));
    object.insert("class_info", d.mask);
    array.append(std::move(object));
  }
  SwJsonObject payload;
  payload.insert("detections", std::move(array));
  return payload;
}

}  // namespace

std::string exactNumber(double number) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", number);
  return text;
}

SwAny payloadOf(const std::vector<Detection>& detections, PayloadForm form) {
  switch (form) {
    case PayloadForm::object:
      return SwAny(jsonObject(detections));
    case PayloadForm::text:
      return SwAny(jsonText(detections));
    case PayloadForm::absent:
      break;
  }
  return SwAny();
}

}  // namespace scene
