#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "zelvo/ZelvoPicture.h"

namespace {

using Keys = zelvo::ZelvoPicture::BaseMetadata::Keys;

struct Expected {
  const std::string& key;
  const char* text;
};

const Expected kExpected[] = {
    {Keys::kSourceNs, "source_ns"},
    {Keys::kCameraIndex, "camera_index"},
    {Keys::kCameraName, "camera_name"},
    {Keys::kCameraModelName, "camera_model_name"},
    {Keys::kCameraType, "camera_type"},
    {Keys::kUtcTimestampUs, "utc_timestamp_us"},
    {Keys::kHfovDeg, "hfov_deg"},
    {Keys::kVfovDeg, "vfov_deg"},
    {Keys::kZoomRatio, "zoom_ratio"},
    {Keys::kPanDeg, "pan_deg"},
    {Keys::kTiltDeg, "tilt_deg"},
    {Keys::kRollDeg, "roll_deg"},
    {Keys::kPitchDeg, "pitch_deg"},
    {Keys::kYawDeg, "yaw_deg"},
    {Keys::kHeadingDeg, "heading_deg"},
    {Keys::kSensorLatDeg, "sensor_lat_deg"},
    {Keys::kSensorLonDeg, "sensor_lon_deg"},
    {Keys::kSensorAltM, "sensor_alt_m"},
    {Keys::kFrameCenterLatDeg, "frame_center_lat_deg"},
    {Keys::kFrameCenterLonDeg, "frame_center_lon_deg"},
    {Keys::kFrameCenterElevM, "frame_center_elev_m"},
    {Keys::kTargetLrfLatDeg, "target_lrf_lat_deg"},
    {Keys::kTargetLrfLonDeg, "target_lrf_lon_deg"},
    {Keys::kTargetLrfElevM, "target_lrf_elev_m"},
    {Keys::kMeasuredSlantRangeM, "measured_slant_range_m"},
    {Keys::kLaserRangeEnabled, "laser_range_enabled"},
    {Keys::kVelocityNorthMps, "velocity_north_mps"},
    {Keys::kVelocityEastMps, "velocity_east_mps"},
    {Keys::kVelocityDownMps, "velocity_down_mps"},
    {Keys::kAzimuthRateDps, "azimuth_rate_dps"},
    {Keys::kElevationRateDps, "elevation_rate_dps"},
    {Keys::kRollRateDps, "roll_rate_dps"},
    {Keys::kNavSatCount, "nav_sat_count"},
    {Keys::kPositioningMethodSource, "positioning_method_source"},
    {Keys::kPlatformStatus, "platform_status"},
    {Keys::kGimbalModeRaw, "gimbal_mode_raw"},
    {Keys::kLaserPrfCode, "laser_prf_code"},
    {Keys::kQuatX, "quat_x"},
    {Keys::kQuatY, "quat_y"},
    {Keys::kQuatZ, "quat_z"},
    {Keys::kQuatW, "quat_w"},
    {Keys::kGimbalModelCode, "gimbal_model_code"},
    {Keys::kPartNumber, "part_number"},
    {Keys::kSerialNumber, "serial_number"},
    {Keys::kSoftwareVersion, "software_version"},
    {Keys::kFollowMeEnabledCommand, "quorvane.follow_me_enabled_command"},
};

TEST(MetadataKeys, HaveTheFortySixDifferentTextsThatTheHostAndThePluginsShare) {
  std::set<std::string> texts;
  for (const Expected& expected : kExpected) {
    EXPECT_EQ(expected.key, expected.text);
    texts.insert(expected.key);
  }
  EXPECT_EQ(std::size(kExpected), 46u);
  EXPECT_EQ(texts.size(), 46u);
}

// Keys are initialised in the order in which the header declares them.
TEST(MetadataKeys, AreDeclaredInThisOrderAndNoOthers) {
  std::ifstream header(ZELVO_PICTURE_HEADER);
  ASSERT_TRUE(header) << ZELVO_PICTURE_HEADER;
  const std::regex declaration("static inline const std::string k\\w+ = \"(.*)\";");
  std::vector<std::string> declared;
  for (std::string line; std::getline(header, line);) {
    std::smatch match;
    if (std::regex_search(line, match, declaration)) declared.push_back(match[1]);
  }
  std::vector<std::string> texts;
  for (const Expected& expected : kExpected) texts.emplace_back(expected.text);
  EXPECT_EQ(declared, texts);
}

}  // namespace
