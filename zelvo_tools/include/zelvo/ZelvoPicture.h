#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "zelvo/export.h"

namespace zelvo {

class PictureStorage;
class RenderTarget;

/// An NV12 picture in device memory: a luma plane of `width` x `height` bytes, and a chroma plane of (height
/// + 1) / 2 rows of (width + 1) / 2 byte pairs U, V. Each plane has a pitch of its own, larger than its row
/// of samples. Both dimensions may be odd.
///
/// A picture is shared by std::shared_ptr. Reading its geometry is safe from any thread; access to its
/// samples is ordered only by the streams that work on them.
class ZELVO_EXPORT ZelvoPicture {
 public:
  /// A picture's metadata: texts by key.
  struct BaseMetadata {
    /// The keys that the host and every plug-in share. Each library keeps its own copies, because an exported
    /// inline object would tie the libraries together and a plug-in could never be unloaded.
    struct ZELVO_LOCAL Keys {
      static inline const std::string kSourceNs = "source_ns";
      static inline const std::string kCameraIndex = "camera_index";
      static inline const std::string kCameraName = "camera_name";
      static inline const std::string kCameraModelName = "camera_model_name";
      static inline const std::string kCameraType = "camera_type";
      static inline const std::string kUtcTimestampUs = "utc_timestamp_us";
      static inline const std::string kHfovDeg = "hfov_deg";
      static inline const std::string kVfovDeg = "vfov_deg";
      static inline const std::string kZoomRatio = "zoom_ratio";
      static inline const std::string kPanDeg = "pan_deg";
      static inline const std::string kTiltDeg = "tilt_deg";
      static inline const std::string kRollDeg = "roll_deg";
      static inline const std::string kPitchDeg = "pitch_deg";
      static inline const std::string kYawDeg = "yaw_deg";
      static inline const std::string kHeadingDeg = "heading_deg";
      static inline const std::string kSensorLatDeg = "sensor_lat_deg";
      static inline const std::string kSensorLonDeg = "sensor_lon_deg";
      static inline const std::string kSensorAltM = "sensor_alt_m";
      static inline const std::string kFrameCenterLatDeg = "frame_center_lat_deg";
      static inline const std::string kFrameCenterLonDeg = "frame_center_lon_deg";
      static inline const std::string kFrameCenterElevM = "frame_center_elev_m";
      static inline const std::string kTargetLrfLatDeg = "target_lrf_lat_deg";
      static inline const std::string kTargetLrfLonDeg = "target_lrf_lon_deg";
      static inline const std::string kTargetLrfElevM = "target_lrf_elev_m";
      static inline const std::string kMeasuredSlantRangeM = "measured_slant_range_m";
      static inline const std::string kLaserRangeEnabled = "laser_range_enabled";
      static inline const std::string kVelocityNorthMps = "velocity_north_mps";
      static inline const std::string kVelocityEastMps = "velocity_east_mps";
      static inline const std::string kVelocityDownMps = "velocity_down_mps";
      static inline const std::string kAzimuthRateDps = "azimuth_rate_dps";
      static inline const std::string kElevationRateDps = "elevation_rate_dps";
      static inline const std::string kRollRateDps = "roll_rate_dps";
      static inline const std::string kNavSatCount = "nav_sat_count";
      static inline const std::string kPositioningMethodSource = "positioning_method_source";
      static inline const std::string kPlatformStatus = "platform_status";
      static inline const std::string kGimbalModeRaw = "gimbal_mode_raw";
      static inline const std::string kLaserPrfCode = "laser_prf_code";
      static inline const std::string kQuatX = "quat_x";
      static inline const std::string kQuatY = "quat_y";
      static inline const std::string kQuatZ = "quat_z";
      static inline const std::string kQuatW = "quat_w";
      static inline const std::string kGimbalModelCode = "gimbal_model_code";
      static inline const std::string kPartNumber = "part_number";
      static inline const std::string kSerialNumber = "serial_number";
      static inline const std::string kSoftwareVersion = "software_version";
      static inline const std::string kFollowMeEnabledCommand = "quorvane.follow_me_enabled_command";
    };

    std::unordered_map<std::string, std::string> values;
  };

  /// Makes the empty picture: both dimensions 0, no planes, no render target. A source returns it before its
  /// first frame.
  ZelvoPicture();

  /// Makes a picture with undefined samples. Throws std::invalid_argument when a dimension is not positive or
  /// a plane would not fit 32-bit byte offsets, std::runtime_error when the device has no memory left.
  ZelvoPicture(int width, int height);

  /// Makes a picture with existing storage; a pool uses it for recycled buffers. `storage` is not null.
  explicit ZelvoPicture(std::shared_ptr<PictureStorage> storage);

  ~ZelvoPicture();
  ZelvoPicture(const ZelvoPicture&) = delete;
  ZelvoPicture& operator=(const ZelvoPicture&) = delete;

  /// Luma columns and rows.
  int width() const;
  int height() const;

  /// Bytes from one row to the next.
  int yPitch() const;
  int uvPitch() const;

  /// Device addresses of the planes' first samples; valid as long as the picture or a target made from it
  /// lives.
  unsigned char* yPlane() const;
  unsigned char* uvPlane() const;

  BaseMetadata& metadata() { return metadata_; }
  const BaseMetadata& metadata() const { return metadata_; }

  /// A target through which a backend can map this picture for drawing. It keeps the samples alive, not the
  /// picture object. Null for the empty picture.
  std::unique_ptr<RenderTarget> makeRenderTarget();

 private:
  std::shared_ptr<PictureStorage> storage_;
  BaseMetadata metadata_;
};

}  // namespace zelvo
