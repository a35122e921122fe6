// SPDX-License-Identifier: Apache-2.0
#include "decoder/juniq/DecoderJuniq.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <locale>
#include <sstream>

#include "common/Diagnostics.h"
#include "common/FloatToInt.h"
#include "decoder/CloudAppend.h"
#include "decoder/PointFields.h"
#include "decoder/RangeChain.h"
#include "decoder/juniq/DecoderJuniqImpl.h"
#include "decoder/juniq/JuniqModel.h"

namespace orliq::lidar {
namespace {

constexpr float METRES_PER_UNIT = 0.14989623F;        // [m] half the light path of a nanosecond
constexpr std::uint8_t MARKER_COLUMN = 0x7F;          // beam position of the frame marker block
constexpr std::uint8_t MARKER_ROW = 0xBF;             // likewise
constexpr int FIRST_RIGHT_COLUMN = 128;               // columns below it have near_filter[8]
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
  std::int32_t position[kSize];
  std::int32_t tof[kSize];
  std::int32_t peak[kSize];
  std::int32_t width[kSize];
  std::int32_t width_ref[kSize];
  float offset[kSize];
  BeamDirection direction[kSize];
  std::int32_t inside[kSize];  // the angle gates
  std::int32_t is_null[kSize];
  float distance[kSize];  // [m] calibrated, 0 for a null point
  float x[kSize];
  float y[kSize];
  float z[kSize];
  PointType points[kSize];  // fields that the decoder does not write stay 0
};

template <typename T_PointCloud>
DecoderJuniq<T_PointCloud>::Impl::Impl(DecoderJuniq* decoder)
    : owner(decoder), batch(std::make_unique<Batch>()) {
  BuildBeams();
}

template <typename T_PointCloud>
DecoderJuniq<T_PointCloud>::Impl::~Impl() = default;

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
  if (!marker && frame_point_count > FORCED_FRAME_POINTS) CloseFrame(frame_time);
  if (marker && owner->split_frame_cb_) {
    if (filter) filter->RadiusFilter(owner->point_cloud_);
    StoreHeader(msop);
    CloseFrame(frame_time);
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
  for (std::size_t first = start; first < JuniqMsop::kBlocks; first += step) {
    const OrliqJuniqMsopBlock* blocks = msop.blocks + first;
    marker |= Gather(blocks, std::min(step, JuniqMsop::kBlocks - first));
    MeasureRange();
    Locate();
    Gate();
    MakePoints(blocks, packet_time);
    Push(plain);
  }
  return marker;
}

/// Takes the returns apart and looks their beams up; true when the frame marker is among them.
template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::Impl::Gather(const OrliqJuniqMsopBlock* blocks,
                                              std::size_t count) {
  Batch& b = *batch;
  const BeamTable& table = beams;
  bool marker = false;
  for (std::size_t i = 0; i < count; ++i) {
    const OrliqJuniqMsopBlock& block = blocks[i];
    marker |= IsNewFrame(block.column, block.row);
    b.position[i] = block.Position();
    b.tof[i] = static_cast<std::int32_t>(block.tof);
    b.peak[i] = static_cast<std::int32_t>(block.peak);
    b.width[i] = static_cast<std::int32_t>(block.width);
    b.width_ref[i] = block.width_ref;
    const Beam& beam = table.At(block.column, block.row);
    b.direction[i] = beam.direction;
    b.offset[i] = beam.offset;
    b.inside[i] = beam.inside;
  }
  b.count = count;
  return marker;
}

/// Time of flight to calibrated range. A range that is not positive after its offset is a null
/// point: the sensor saw nothing there.
template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::MeasureRange() {
  Batch& b = *batch;
  const RangeWeights weights(weight);
  const NearFilter noise_filter(near_filter);
  const float left = GetLeftOrRightDistanceOffset(0);
  const float right = GetLeftOrRightDistanceOffset(FIRST_RIGHT_COLUMN);
  for (std::size_t i = 0; i < b.count; ++i) {
    const float raw = RawDistance(b.tof[i], METRES_PER_UNIT) - b.offset[i];
    b.is_null[i] = raw <= 0.0F;
    const float ratio = static_cast<float>(b.width[i]) / static_cast<float>(b.width_ref[i]);
    const int column = b.position[i] & 0xFF;
    b.distance[i] =
        CalibrateDistance(raw, ratio, weights) - (column < FIRST_RIGHT_COLUMN ? left : right);
  }
  for (std::size_t i = 0; i < b.count; ++i) {
    const float peak = static_cast<float>(b.peak[i]);
    const float range = FilterNearNoisePoints(b.distance[i], peak, noise_filter);
    b.distance[i] = b.is_null[i] != 0 ? 0.0F : range;
  }
}

/// Range and beam direction to coordinates; then the extrinsic transform. x is never negative.
template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::Locate() {
  Batch& b = *batch;
  for (std::size_t i = 0; i < b.count; ++i) {
    const BeamDirection& beam = b.direction[i];
    const float horizontal = b.distance[i] * beam.cos_elevation;
    b.x[i] = std::fabs(horizontal * beam.cos_azimuth);
    b.y[i] = std::fabs(horizontal) * beam.sin_azimuth;
    b.z[i] = b.distance[i] * beam.sin_elevation;
  }
  if (!owner->TransformEnabled()) return;
  const ExtrinsicTransform transform = owner->transform_matrix_;
  for (std::size_t i = 0; i < b.count; ++i) transform.Apply(b.x[i], b.y[i], b.z[i]);
}

/// Null points and returns outside a limit go to the origin.
template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::Gate() {
  Batch& b = *batch;
  const float nearest = owner->param_.min_distance;
  const float farthest = owner->param_.max_distance;
  for (std::size_t i = 0; i < b.count; ++i) {
    const int in_range = (nearest <= b.distance[i]) & (b.distance[i] <= farthest);
    const bool keep = (b.inside[i] & in_range & (b.is_null[i] ^ 1)) != 0;
    b.x[i] = keep ? b.x[i] : 0.0F;
    b.y[i] = keep ? b.y[i] : 0.0F;
    b.z[i] = keep ? b.z[i] : 0.0F;
  }
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::MakePoints(const OrliqJuniqMsopBlock* blocks,
                                                  double packet_time) {
  Batch& b = *batch;
  const std::size_t left = GROUP_BLOCKS - group_block_count;  // that have the group's old time
  const double old_time = group_time;
  for (std::size_t i = 0; i < b.count; ++i) {
    PointType& point = b.points[i];
    point.x = b.x[i];
    point.y = b.y[i];
    point.z = b.z[i];
    point.intensity = static_cast<std::uint16_t>(b.width[i]);
    point.ring = static_cast<std::uint16_t>(b.position[i] >> 8);
    SetTimestamp(point, i < left ? old_time : packet_time);
    SetDistance(point, SaturatingTruncate<std::int32_t>(b.distance[i]));
    SetJuniqMeasurement(point, blocks[i]);
  }
  if (b.count >= left) group_time = packet_time;
  group_block_count = (group_block_count + static_cast<std::uint32_t>(b.count)) % GROUP_BLOCKS;
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::Push(bool plain) {
  const Batch& b = *batch;
  frame_point_count += static_cast<std::uint32_t>(b.count);
  if (!owner->point_cloud_) return;
  T_PointCloud& cloud = *owner->point_cloud_;
  if (plain) {
    AppendToPlainCloud(cloud, b.points, b.count);
  } else {
    for (std::size_t i = 0; i < b.count; ++i) cloud.PushPoint(b.points[i]);
  }
  if (!filter) return;
  const int first = static_cast<int>(cloud.points.size()) - static_cast<int>(b.count);
  for (std::size_t i = 0; i < b.count; ++i) {
    filter->UpdateHashMap(b.position[i] >> 8, b.position[i] & 0xFF, first + static_cast<int>(i),
                          b.distance[i], b.is_null[i] != 0);
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
void DecoderJuniq<T_PointCloud>::Impl::CloseFrame(double timestamp) {
  owner->split_frame_cb_(owner->const_param_.LASER_NUM, timestamp);
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
  const std::size_t count = owner->const_param_.BLOCKS_PER_PKT;
  for (std::size_t i = 0; i < count; ++i) {
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
float DecoderJuniq<T_PointCloud>::Impl::GetLeftOrRightDistanceOffset(int column) const {
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
  for (std::size_t i = 0; i < BeamTable::kPositions; ++i) {
    const auto position = static_cast<std::uint16_t>(i);
    const BeamAngles angles = GetAzimuthElevation(position);
    const bool inside = owner->IsAngleRange(CentidegreesToDegrees(angles.azimuth_cdeg),
                                            CentidegreesToDegrees(angles.elevation_cdeg));
    Beam& beam = beams.At(static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i >> 8));
    beam = {MakeDirection(trigon, angles), GetDistanceOffset(position), inside ? 1 : 0};
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
  return kJuniq;
}

template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size,
                                                  std::uint16_t start) {
  return impl_->DecodeMsopPacket(pkt, size, start);
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::EnableFinallyFrame() {
  impl_->CloseFrame(0.0);
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
