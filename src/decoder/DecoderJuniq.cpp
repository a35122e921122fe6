// SPDX-License-Identifier: Apache-2.0
#include "decoder/DecoderJuniq.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>

#include "common/Diagnostics.h"
#include "common/FloatToInt.h"
#include "decoder/CloudAppend.h"
#include "decoder/DecoderJuniqImpl.h"
#include "decoder/PointFields.h"
#include "decoder/RangeChain.h"

namespace orliq::lidar {
namespace {

constexpr float METRES_PER_UNIT = 0.14989623F;        // [m] half the light path of a nanosecond
constexpr std::uint8_t MARKER_COLUMN = 0x7F;          // position of the last beam of a frame
constexpr std::uint8_t MARKER_ROW = 0xBF;             //
constexpr std::uint8_t FIRST_RIGHT_COLUMN = 128;      // columns below it have near_filter[8]
constexpr std::uint32_t FORCED_FRAME_POINTS = 99999;  // bounds a frame whose marker was lost
constexpr std::uint32_t GROUP_BLOCKS = 256;           // blocks that share one time stamp
constexpr double TEMPERATURE_UNIT = 0.0625;           // [deg C]
constexpr double TEMPERATURE_OFFSET = -64.0;          // [deg C]
constexpr double PI = 3.141592653589793;
constexpr double RATE_UNIT = 0.000173611;          // [pi rad/s] per count
constexpr double ACCELERATION_UNIT = 0.004788403;  // [m/s^2] per count

}  // namespace

/// Up to a packet of returns, field by field, so that each step is a loop the compiler vectorises.
template <typename T_PointCloud>
struct DecoderJuniq<T_PointCloud>::Impl::Batch {
  static constexpr std::size_t kSize = JuniqMsop::kBlocks;
  std::size_t count = 0;
  std::int32_t tof[kSize];
  float peak[kSize];
  float width[kSize];
  float width_ref[kSize];
  float offset[kSize];
  float side_offset[kSize];
  float sin_azimuth[kSize];
  float cos_azimuth[kSize];
  float sin_elevation[kSize];
  float cos_elevation[kSize];
  std::int32_t inside[kSize];  // inside the angle gates; after Gate, inside all gates
  std::int32_t is_null[kSize];
  float distance[kSize];  // [m] calibrated, 0 for a null point
  float x[kSize];
  float y[kSize];
  float z[kSize];
  PointType points[kSize];
};

template <typename T_PointCloud>
DecoderJuniq<T_PointCloud>::Impl::Impl(DecoderJuniq* decoder)
    : owner(decoder), beams(kAllPositions) {
  BuildBeams();
}

template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::Impl::DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size,
                                                        std::uint16_t start) {
  if (pkt == nullptr || size < sizeof(JuniqMsop)) return false;
  JuniqMsop msop;
  std::memcpy(&msop, pkt, sizeof msop);
  const double packet_time = owner->GetTimeUTCWithUs(msop.utc);
  if (group_time == 0.0) group_time = packet_time;
  if (frame_time == 0.0) frame_time = packet_time;

  const bool marker = DecodeBlocks(msop, start, packet_time);
  if (!marker && frame_point_count > FORCED_FRAME_POINTS) CloseFrame();
  if (marker && owner->split_frame_cb_) {
    if (filter && owner->point_cloud_) filter->RadiusFilter(owner->point_cloud_);
    StoreHeader(msop);
    CloseFrame();
  }
  DecodeImu(msop, packet_time);
  return marker;
}

/// Decodes the blocks from `start` on; true when the frame marker is among them. A derived cloud
/// may do anything in PushPoint, so its points are worked out one by one, each after the last push.
template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::Impl::DecodeBlocks(const JuniqMsop& msop, std::size_t start,
                                                    double packet_time) {
  const bool plain = !owner->point_cloud_ || IsPlainCloud(*owner->point_cloud_);
  const std::size_t step = plain ? Batch::kSize : 1;
  bool marker = false;
  Batch batch;
  for (std::size_t first = start; first < JuniqMsop::kBlocks; first += step) {
    const OrliqJuniqMsopBlock* blocks = msop.blocks + first;
    batch.count = std::min(step, JuniqMsop::kBlocks - first);
    for (std::size_t i = 0; i < batch.count; ++i) {
      marker |= IsNewFrame(blocks[i].column, blocks[i].row);
    }
    Gather(blocks, batch);
    MeasureRange(batch);
    Locate(batch);
    Gate(batch);
    MakePoints(blocks, batch, packet_time);
    Push(blocks, batch, plain);
  }
  return marker;
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::Gather(const OrliqJuniqMsopBlock* blocks,
                                              Batch& batch) const {
  for (std::size_t i = 0; i < batch.count; ++i) {
    const OrliqJuniqMsopBlock& block = blocks[i];
    batch.tof[i] = static_cast<std::int32_t>(block.tof);
    batch.peak[i] = static_cast<float>(static_cast<std::int32_t>(block.peak));
    batch.width[i] = static_cast<float>(static_cast<std::int32_t>(block.width));
    batch.width_ref[i] = static_cast<float>(block.width_ref);
    batch.side_offset[i] = GetLeftOrRightDistanceOffset(block.column);
    const Beam& beam = beams[block.position()];
    batch.offset[i] = beam.offset;
    batch.sin_azimuth[i] = beam.sin_azimuth;
    batch.cos_azimuth[i] = beam.cos_azimuth;
    batch.sin_elevation[i] = beam.sin_elevation;
    batch.cos_elevation[i] = beam.cos_elevation;
    batch.inside[i] = beam.inside_angle_gates;
  }
}

/// Time of flight to calibrated range. A range that is not positive after its offset is a null
/// point: the sensor saw nothing there.
template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::MeasureRange(Batch& batch) const {
  for (std::size_t i = 0; i < batch.count; ++i) {
    const float raw = RawDistance(batch.tof[i], METRES_PER_UNIT) - batch.offset[i];
    batch.is_null[i] = raw <= 0.0F;
    const float ratio = batch.width[i] / batch.width_ref[i];
    const float calibrated = CalibrateDistance(raw, ratio, weight) - batch.side_offset[i];
    const float range = FilterNearNoisePoints(calibrated, batch.peak[i], near_filter);
    batch.distance[i] = batch.is_null[i] ? 0.0F : range;
  }
}

/// Range and beam direction to coordinates; then the extrinsic transform. x is never negative.
template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::Locate(Batch& batch) const {
  for (std::size_t i = 0; i < batch.count; ++i) {
    const float horizontal = batch.distance[i] * batch.cos_elevation[i];
    batch.x[i] = std::fabs(horizontal * batch.cos_azimuth[i]);
    batch.y[i] = std::fabs(horizontal) * batch.sin_azimuth[i];
    batch.z[i] = batch.distance[i] * batch.sin_elevation[i];
  }
  if (!owner->transform_enabled()) return;
  for (std::size_t i = 0; i < batch.count; ++i) {
    owner->transform_matrix_.Apply(batch.x[i], batch.y[i], batch.z[i]);
  }
}

/// Null points and returns outside a limit go to the origin.
template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::Gate(Batch& batch) const {
  const float min_distance = owner->param_.min_distance;
  const float max_distance = owner->param_.max_distance;
  for (std::size_t i = 0; i < batch.count; ++i) {
    const float distance = batch.distance[i];
    const std::int32_t in_range = (min_distance <= distance) & (distance <= max_distance);
    const bool keep = (batch.inside[i] & in_range & (batch.is_null[i] ^ 1)) != 0;
    batch.x[i] = keep ? batch.x[i] : 0.0F;
    batch.y[i] = keep ? batch.y[i] : 0.0F;
    batch.z[i] = keep ? batch.z[i] : 0.0F;
  }
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::MakePoints(const OrliqJuniqMsopBlock* blocks, Batch& batch,
                                                  double packet_time) {
  for (std::size_t i = 0; i < batch.count; ++i) {
    PointType& point = batch.points[i];
    point.x = batch.x[i];
    point.y = batch.y[i];
    point.z = batch.z[i];
    point.intensity = static_cast<std::uint16_t>(blocks[i].width);
    point.ring = blocks[i].row;
    SetTimestamp(point, group_time);
    SetDistance(point, SaturatingTruncate<std::int32_t>(batch.distance[i]));
    SetJuniqMeasurement(point, blocks[i]);
    if (++group_block_count == GROUP_BLOCKS) {
      group_block_count = 0;
      group_time = packet_time;
    }
  }
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::Push(const OrliqJuniqMsopBlock* blocks, const Batch& batch,
                                            bool plain) {
  frame_point_count += static_cast<std::uint32_t>(batch.count);
  if (!owner->point_cloud_) return;
  T_PointCloud& cloud = *owner->point_cloud_;
  if (plain) {
    AppendToPlainCloud(cloud, batch.points, batch.count);
  } else {
    for (std::size_t i = 0; i < batch.count; ++i) cloud.PushPoint(batch.points[i]);
  }
  if (!filter) return;
  const int first = static_cast<int>(cloud.points.size()) - static_cast<int>(batch.count);
  for (std::size_t i = 0; i < batch.count; ++i) {
    filter->UpdateHashMap(blocks[i].row, blocks[i].column, first + static_cast<int>(i),
                          batch.distance[i], batch.is_null[i] != 0);
  }
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::StoreHeader(const JuniqMsop& msop) const {
  if (!owner->point_cloud_) return;
  T_PointCloud& cloud = *owner->point_cloud_;
  cloud.frame_word = msop.frame_word;
  cloud.temperature_a = msop.temperature_a * TEMPERATURE_UNIT + TEMPERATURE_OFFSET;
  cloud.temperature_b = msop.temperature_b * TEMPERATURE_UNIT + TEMPERATURE_OFFSET;
  cloud.status = msop.status;
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::CloseFrame() {
  owner->split_frame_cb_(owner->const_param_.LASER_NUM, frame_time);
  group_time = 0.0;
  frame_time = 0.0;
  frame_point_count = 0;
}

/// The inertial axes are turned into the axes of the point frame.
template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::DecodeImu(const JuniqMsop& msop, double packet_time) {
  const std::uint32_t stamp = msop.imu_stamp;
  if (last_imu_stamp != 0 && last_imu_stamp == stamp) return;
  last_imu_stamp = stamp;
  if (!owner->imu_cb_ || !owner->imu_msg_) return;
  const auto rate = [](int raw) { return static_cast<float>(raw * RATE_UNIT * PI); };
  const auto acceleration = [](int raw) { return static_cast<float>(raw * ACCELERATION_UNIT); };
  const auto& w = msop.imu.w;
  ImuMsg& imu = *owner->imu_msg_;
  imu.valid = 1;
  imu.timestamp = packet_time;
  imu.angular_velocity_x = rate(-w[5]);
  imu.angular_velocity_y = rate(w[3]);
  imu.angular_velocity_z = rate(-w[4]);
  imu.linear_acceleration_x = acceleration(-w[2]);
  imu.linear_acceleration_y = acceleration(w[0]);
  imu.linear_acceleration_z = acceleration(-w[1]);
  owner->imu_cb_();
}

template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::Impl::SplitFrame(const std::uint8_t* pkt,
                                                  std::uint16_t& start) const {
  const std::uint8_t* block = pkt + offsetof(JuniqMsop, blocks);
  for (std::size_t i = 0; i < owner->const_param_.BLOCKS_PER_PKT; ++i) {
    if (IsNewFrame(block[0], block[1])) {
      start = static_cast<std::uint16_t>(i + 1);
      return true;
    }
    block += sizeof(OrliqJuniqMsopBlock);
  }
  return false;
}

template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::Impl::IsNewFrame(std::uint8_t column, std::uint8_t row) {
  return column == MARKER_COLUMN && row == MARKER_ROW;
}

template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::Impl::IsConfident(const OrliqJuniqMsopBlock& /*block*/) {
  return false;
}

template <typename T_PointCloud>
BeamAngles DecoderJuniq<T_PointCloud>::Impl::GetAzimuthElevation(std::uint16_t position) const {
  if (position >= kBeamPositions) return {0, 0};
  // The azimuth table is stored in the sensor's sense of rotation.
  return {TableAngle(check_param.azimuth[position], -100.0),
          TableAngle(check_param.elevation[position], 100.0)};
}

template <typename T_PointCloud>
float DecoderJuniq<T_PointCloud>::Impl::GetDistanceOffset(std::uint16_t position) const {
  return position < kBeamPositions ? check_param.offset[position] : 0.0F;
}

template <typename T_PointCloud>
float DecoderJuniq<T_PointCloud>::Impl::GetLeftOrRightDistanceOffset(std::uint8_t column) const {
  return column < FIRST_RIGHT_COLUMN ? near_filter[8] : near_filter[7];
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::UpdateCheckParam(const OffsetCheckParam& param) {
  std::memcpy(&check_param, &param, sizeof check_param);
  std::memcpy(weight, &check_param.weight, sizeof weight);
  std::memcpy(near_filter, &check_param.near_filter, sizeof near_filter);
  BuildBeams();
  if (near_filter[4] == 1.0F) {
    diagnostics::FilterInUse(near_filter[4], near_filter[5], near_filter[6]);
    filter = std::make_shared<CloudFilter<T_PointCloud>>(
        true, near_filter[5], SaturatingTruncate<std::uint32_t>(near_filter[6]));
  }
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::BuildBeams() {
  for (std::size_t i = 0; i < kAllPositions; ++i) {
    const auto position = static_cast<std::uint16_t>(i);
    const BeamAngles angles = GetAzimuthElevation(position);
    beams[i] = MakeBeam(trigon, angles);
    beams[i].offset = GetDistanceOffset(position);
    beams[i].inside_angle_gates = owner->IsAngleRange(CentidegreesToDegrees(angles.azimuth_cdeg),
                                                      CentidegreesToDegrees(angles.elevation_cdeg));
  }
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::Print() const {
  std::ostringstream line;
  line.imbue(std::locale::classic());
  for (std::size_t i = 0; i < kBeamPositions; ++i) {
    line << float{check_param.elevation[i]} << ' ';
    if (i == 0 || i % 16 != 0) continue;
    line << '\n';
    diagnostics::Dump(line.str());
    line.str("");
  }
  diagnostics::Dump(line.str());
}

template <typename T_PointCloud>
DecoderJuniq<T_PointCloud>::DecoderJuniq(const DecoderParam& param)
    : Decoder<T_PointCloud>(GetConstParam(), param), impl_(std::make_shared<Impl>(this)) {}

template <typename T_PointCloud>
DecoderJuniq<T_PointCloud>::~DecoderJuniq() = default;

template <typename T_PointCloud>
DecoderConstParam DecoderJuniq<T_PointCloud>::GetConstParam() {
  return {sizeof(JuniqMsop),
          8,
          {0xEE, 0xFF, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
          192,
          JuniqMsop::kBlocks,
          0.4F,
          230.0F,
          0.005F,
          0.0625F};
}

template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size,
                                                  std::uint16_t start) {
  return impl_->DecodeMsopPacket(pkt, size, start);
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::EnableFinallyFrame() {
  this->split_frame_cb_(this->const_param_.LASER_NUM, 0.0);
}

template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::SplitFrame(const std::uint8_t* pkt, std::size_t size,
                                            std::uint16_t& start) {
  return pkt != nullptr && size >= sizeof(JuniqMsop) && impl_->SplitFrame(pkt, start);
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::UpdateCheckParam(CheckParam* param) {
  if (param != nullptr) impl_->UpdateCheckParam(*static_cast<const OffsetCheckParam*>(param));
}

#define ORLIQ_INSTANTIATE(CLOUD) template class DecoderJuniq<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
