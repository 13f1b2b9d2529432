#include "soak/hostile_input.h"

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

#include "core/SwJsonArray.h"
#include "core/SwJsonObject.h"
#include "core/SwJsonValue.h"

namespace soak {
namespace {

using scene::Dice;

std::string junkText(Dice& dice) {
  const std::string detection = "{\"w\": 9, \"h\": 9, \"score\": 1, \"class_info\": \"SEG1|1|1|AQ==\"}";
  const std::vector<std::string> texts = {
      "",
      "no JSON",
      "null",
      "{}",
      "[" + detection + "]",
      "{\"detections\": null}",
      "{\"detections\": 7}",
      "{\"detections\": []}",
      "{\"detections\": " + detection + "}",
      "{\"Detections\": [" + detection + "]}",
      "{\"detections\": [1, null, \"x\", [" + detection + "], true, -1e999]}",
      "{\"detections\": [" + detection + "}",
      "{\"detections\": [" + detection + "]} x",
      "{\"detections\": [" + detection + "\"",
      std::string("{\"detections\": [\0]}", 18),
      "{\"\xFF\xFE\": \"\xC3\"}",
      std::string(3000, '['),
      "{\"detections\": " + std::string(2000, '[') + std::string(2000, ']') + "}",
  };
  return dice.oneOf(texts);
}

/// A JSON value in the place of a number, and the integer that it counts as.
struct OddInteger {
  const char* text;
  int32_t meaning;
};

OddInteger oddInteger(Dice& dice) {
  static const std::array<OddInteger, 20> kValues = {{{"null", 0},
                                                      {"\"3\"", 0},
                                                      {"[5]", 0},
                                                      {"{\"x\": 1}", 0},
                                                      {"true", 1},
                                                      {"false", 0},
                                                      {"2.999", 2},
                                                      {"-2.999", -2},
                                                      {"1e300", INT32_MAX},
                                                      {"-1e300", INT32_MIN},
                                                      {"1e-300", 0},
                                                      {"4294967297", 1},
                                                      {"-4294967294", 2},
                                                      {"9223372036854775807", -1},
                                                      {"-9223372036854775808", 0},
                                                      {"2147483647", INT32_MAX},
                                                      {"-2147483648", INT32_MIN},
                                                      {"2147483648", INT32_MIN},
                                                      {"2147483648.5", INT32_MAX},
                                                      {"64", 64}}};
  return dice.oneOf(kValues);
}

/// Adds the member, or leaves it out, which counts as 0.
int32_t addInteger(Dice& dice, std::string& text, const char* key, int low, int high) {
  if (dice.oneIn(12)) return 0;
  OddInteger value = {nullptr, dice.between(low, high)};
  std::string number = std::to_string(value.meaning);
  if (dice.oneIn(3)) {
    value = oddInteger(dice);
    number = value.text;
  }
  text += "\"" + std::string(key) + "\": " + number + ", ";
  return value.meaning;
}

float addScore(Dice& dice, std::string& text) {
  static const std::array<std::pair<const char*, float>, 10> kScores = {{{"1", 1.0F},
                                                                         {"0.5", 0.5F},
                                                                         {"true", 1.0F},
                                                                         {"false", 0.0F},
                                                                         {"null", 0.0F},
                                                                         {"\"1\"", 0.0F},
                                                                         {"[1]", 0.0F},
                                                                         {"-1", -1.0F},
                                                                         {"4294967296", 4294967296.0F},
                                                                         {"1e-300", 0.0F}}};
  if (dice.oneIn(12)) return 0.0F;
  const auto [number, meaning] = dice.oneOf(kScores);
  text += "\"score\": " + std::string(number) + ", ";
  return meaning;
}

std::string addMask(Dice& dice, std::string& text, int width, int height) {
  if (dice.oneIn(6)) {
    static const std::array<const char*, 6> kOthers = {"null", "7",   "true", "[\"SEG1|1|1|AQ==\"]",
                                                       "{}",   "\"\""};
    text += "\"class_info\": " + std::string(dice.oneOf(kOthers));
    return {};
  }
  const std::string mask = dice.oneIn(2) ? scene::fullMask(width, height)
                                         : scene::chessMask(dice.between(1, 40), dice.between(1, 40));
  text += "\"class_info\": \"" + mask + "\"";
  return mask;
}

}  // namespace

SwAny junkPayload(Dice& dice) {
  switch (dice.between(1, 12)) {
    case 1:
      return SwAny(7);
    case 2:
      return SwAny(std::numeric_limits<double>::quiet_NaN());
    case 3:
      return SwAny(true);
    case 4:
      return SwAny(std::vector<unsigned char>{'{', 0, 255});
    case 5:
      return SwAny(SwJsonArray());
    case 6:
      return SwAny(SwJsonObject());
    case 7:
      return SwAny(SwJsonValue());
    case 8: {
      SwJsonObject object;
      object.insert("detections", std::numeric_limits<double>::infinity());
      return SwAny(object);
    }
    default:
      return SwAny(junkText(dice));
  }
}

OddPayload oddPayload(Dice& dice, int width, int height) {
  OddPayload payload;
  payload.text = "{\"detections\": [";
  for (int n = dice.between(1, 4); n > 0; --n) {
    scene::Detection detection;
    std::string text = "{";
    detection.x = addInteger(dice, text, "x", -width, width);
    detection.y = addInteger(dice, text, "y", -height, height);
    detection.w = addInteger(dice, text, "w", 0, 2 * width);
    detection.h = addInteger(dice, text, "h", 0, 2 * height);
    detection.class_id = addInteger(dice, text, "class_id", -30, 30);
    detection.score = addScore(dice, text);
    detection.mask = addMask(dice, text, width, height);
    payload.text += text + (n > 1 ? "}, " : "}]}");
    payload.meaning.push_back(detection);
  }
  return payload;
}

float oddScore(Dice& dice) {
  static const std::array<float, 7> kScores = {std::numeric_limits<float>::quiet_NaN(),
                                               std::numeric_limits<float>::infinity(),
                                               -std::numeric_limits<float>::infinity(),
                                               -1.0F,
                                               -0.0F,
                                               std::numeric_limits<float>::max(),
                                               std::numeric_limits<float>::denorm_min()};
  return dice.oneOf(kScores);
}

std::string oddConfiguration(Dice& dice, scene::Settings& settings) {
  switch (dice.between(1, 9)) {
    case 1:
      settings.alpha = 1.0F;
      return "{\"alpha\": \"nan\"}";
    case 2:
      settings.alpha = 1.0F;
      settings.min_score = 0.0F;
      return "{\"alpha\": 1e300, \"min_score\": -1e300}";
    case 3:
      settings.alpha = 0.0F;
      return "{\"alpha\": -0.0, \"min_score\": {}, \"other\": [[[]]]}";
    case 4:
      settings.cap = 1;
      return "{\"max_overlay_dets\": 4294967297}";
    case 5:
      settings.cap = 1;
      return "{\"max_overlay_dets\": null, \"alpha\": []}";
    case 6:
      settings.cap = 4096;
      return "{\"max_overlay_dets\": 4097.5}";
    default:
      break;
  }
  const std::vector<std::string> broken = {"",
                                           "{",
                                           "null",
                                           "[1,2]",
                                           "{\"alpha\": 1} x",
                                           "{\"alpha\": 1",
                                           "{\"a\": {\"alpha\": 1}}",
                                           "{\"alpha\": \"abc\", \"min_score\": null}",
                                           std::string("{\"alpha\0\": 1}", 13),
                                           "{\"alpha\": 1, \"x\": " + std::string(3000, '[') + "}"};
  return dice.oneOf(broken);
}

}  // namespace soak
