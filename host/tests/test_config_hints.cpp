#include <gtest/gtest.h>

#include "host/config_hints.h"
#include "host/nearest_name.h"

namespace segmask {
namespace {

const char kSchema[] = R"(
{"properties": {
  "alpha": {"type": "number", "minimum": 0.0, "maximum": 1.0},
  "max_overlay_dets": {"type": "integer", "minimum": 1, "maximum": 4096},
  "name": {"type": "string"},
  "on": {"type": "boolean"}}}
)";

using Texts = std::vector<std::string>;

Texts of(const std::string& config) {
  return configWarnings(config, kSchema);
}

TEST(ConfigWarnings, GoodConfigurationsGiveNone) {
  EXPECT_EQ(of(R"({"alpha": 1, "max_overlay_dets": 4096, "name": "", "on": true})"), Texts{});
  EXPECT_EQ(of(R"({"alpha": 0.5})"), Texts{});
  EXPECT_EQ(of("{}"), Texts{});
}

TEST(ConfigWarnings, UnknownKeysComeWithTheNearestKnownOne) {
  EXPECT_EQ(of(R"({"alhpa": 1})"), Texts{R"(the plug-in has no "alhpa"; did you mean "alpha"?)"});
  EXPECT_EQ(of(R"({"max_dets": 1, "max_overlay_det": 1})"),
            (Texts{R"(the plug-in has no "max_dets")",
                   R"(the plug-in has no "max_overlay_det"; did you mean "max_overlay_dets"?)"}));
}

TEST(ConfigWarnings, ValuesThatTheSchemaDoesNotAllow) {
  EXPECT_EQ(of(R"({"alpha": 1.5})"), Texts{R"("alpha" is above its maximum, 1)"});
  EXPECT_EQ(of(R"({"max_overlay_dets": 0})"), Texts{R"("max_overlay_dets" is below its minimum, 1)"});
  EXPECT_EQ(of(R"({"max_overlay_dets": 1.5})"), Texts{R"("max_overlay_dets" has to be of type integer)"});
  EXPECT_EQ(of(R"({"alpha": "1", "name": 1, "on": 1})"),
            (Texts{R"("alpha" has to be of type number)", R"("name" has to be of type string)",
                   R"("on" has to be of type boolean)"}));
}

TEST(ConfigWarnings, ASchemaWithoutPropertiesAllowsAll) {
  EXPECT_EQ(configWarnings(R"({"a": 1})", "{}"), Texts{});
  EXPECT_EQ(configWarnings(R"({"a": 1})", "no schema"), Texts{});
}

TEST(NearestName, KeysOfAnyLengthAreLookedAt) {
  EXPECT_EQ(nearestName(std::string(200'000'000, 'a'), {"alpha"}), "");
  EXPECT_TRUE(isMisspelling("scor", "score"));
  EXPECT_TRUE(isMisspelling("socre", "score"));
  EXPECT_FALSE(isMisspelling("socr", "score"));
  EXPECT_TRUE(isMisspelling("detetons", "detections"));
  EXPECT_FALSE(isMisspelling("detetos", "detections"));
}

}  // namespace
}  // namespace segmask
