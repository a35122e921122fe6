// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "multi_driver/Export.h"

/// The library but for what stands at global scope: drivers, clouds and point records.
namespace orliq::lidar {

/// Sensor model; selects the decoder and the check-parameter files. Several models share packet
/// length and identifier, so a wrong value cannot always be noticed from the packets.
enum class LidarType : std::uint32_t {
  Brantis = 0x01,  ///< accepted and counted, not decoded
  Corvik = 0x10,   ///< 56 lines of 192 samples
  Fennix = 0x20,   ///< frames only: all points at the origin
  Glavor = 0x21,   ///< 192 x 256 beams with calibration tables; no time
  Hestra = 0x30,   ///< accepted and counted, not decoded
  Juniq = 0x40,    ///< 192 x 256 beams with calibration tables
  Kelvane = 0x50,  ///< 520 columns swept over the azimuth; no time, no transform
};

/// Source of packets.
enum class InputType : std::uint32_t {
  Socket = 0,  ///< live UDP
  Pcap = 1,    ///< capture file
};

/// Where the packets come from.
struct ORLIQ_API InputParam {
  std::string local_ip;    ///< local IPv4 address to bind, dotted form; empty for any
  std::uint16_t port = 0;  ///< UDP port of the sensor's packets; 0 matches any port of a capture
  std::string pcap_file;   ///< path of the capture file, pcap or pcapng
};

/// Extrinsic transform: p' = T(x, y, z) * Rz(yaw) * Ry(pitch) * Rx(roll) * p, worked out in double
/// precision with 1 deg = pi * 0.005555556 rad. Without effect on the points of a model that has none
/// (SensorModel::transforms_points), which is Kelvane, and on samples of inertial sensors.
struct ORLIQ_API TransformParam {
  std::uint32_t enable = 0;  ///< 0 leaves points in the sensor frame
  float x = 0.0F;            ///< [m]
  float y = 0.0F;            ///< [m]
  float z = 0.0F;            ///< [m]
  float roll = 0.0F;         ///< [deg]
  float pitch = 0.0F;        ///< [deg]
  float yaw = 0.0F;          ///< [deg]
};

/// Limits and transform of a decoder. All limits are inclusive and apply to the calibrated range and
/// the beam's direction, untransformed; NaN is outside. What becomes of a return outside tells
/// SensorModel::keeps_gated_points.
struct ORLIQ_API DecoderParam {
  float min_distance = 0.0F;       ///< [m]
  float max_distance = 1500.0F;    ///< [m]
  float min_azimuth = -90.0F;      ///< [deg] 0 is ahead, positive to the left
  float max_azimuth = 90.0F;       ///< [deg]
  float min_elevation = -90.0F;    ///< [deg] 0 is level, positive upwards
  float max_elevation = 90.0F;     ///< [deg]
  TransformParam transform_param;  ///< of the points within the limits
};

/// Where the per-sensor calibration tables (the check parameters) come from.
struct ORLIQ_API CalibrationParam {
  std::uint32_t local_port = 0;  ///< UDP port to bind for the upload, one a driver; 0: any free one
  std::string local_address;     ///< dotted IPv4 address to bind; empty for any
  std::uint32_t remote_port = 0;  ///< the sensor's UDP port; 0 learns it from the first datagram
  std::string remote_address;     ///< its dotted IPv4 address; empty learns it likewise
  std::string check_folder;       ///< folder of check-parameter files
};

/// One sensor. `lidar_type` has no default on purpose: 0 is no model and is refused.
struct ORLIQ_API DriverParam {
  /// 0: check parameters from the folder; else from the sensor. A capture file always uses the
  /// folder.
  std::uint32_t param_source = 0;
  InputType input_type = InputType::Socket;          ///< live, or from a capture file
  LidarType lidar_type = static_cast<LidarType>(0);  ///< the model; to be set
  InputParam input_param;                            ///< port, or file
  DecoderParam decoder_param;                        ///< limits and transform of the points
  CalibrationParam calibration_param;                ///< for the models that have tables
};

/// The sensors of a multi driver. `driver_params` points to `lidar_num` consecutive records that
/// the caller owns; they are read during initialisation only.
struct ORLIQ_API MultiDriverParam {
  std::uint64_t reserved = 0;            ///< no meaning yet; leave 0
  std::uint64_t lidar_num = 0;           ///< how many; 0 is accepted, and fuses nothing
  DriverParam* driver_params = nullptr;  ///< of the first; the others follow it
};

/// One transform per sensor of a multi driver, for OrliqMultiDriver::UpdateTransform, which does nothing.
struct ORLIQ_API MultiTransformParam {
  std::vector<TransformParam> transforms;  ///< in sensor order; nobody reads them
};

static_assert(sizeof(TransformParam) == 28 && sizeof(DecoderParam) == 52);
#if defined(__GLIBCXX__) && defined(__LP64__) && _GLIBCXX_USE_CXX11_ABI
static_assert(sizeof(InputParam) == 72 && sizeof(CalibrationParam) == 112);
static_assert(sizeof(DriverParam) == 256 && sizeof(MultiDriverParam) == 24);
static_assert(offsetof(DriverParam, input_type) == 4 && offsetof(DriverParam, lidar_type) == 8 &&
              offsetof(DriverParam, input_param) == 16 &&
              offsetof(DriverParam, decoder_param) == 88 &&
              offsetof(DriverParam, calibration_param) == 144);
#endif

}  // namespace orliq::lidar
