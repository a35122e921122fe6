// SPDX-License-Identifier: Apache-2.0
#include "decoder/juniq/DecoderJuniq.h"

#include <cstring>
#include <locale>
#include <sstream>

#include "common/Diagnostics.h"
#include "common/FloatToInt.h"
#include "decoder/CloudAppend.h"
#include "decoder/FrameMarker.h"
#include "decoder/ImuSample.h"
#include "decoder/PointFields.h"
#include "decoder/juniq/DecoderJuniqImpl.h"
#include "decoder/juniq/JuniqModel.h"

namespace orliq::lidar {
namespace {

constexpr ImuUnits IMU_UNITS = {0.000173611,   // [pi rad/s] per count
                                0.004788403};  // [m/s^2] per count

}  // namespace

template <typename T_PointCloud>
DecoderJuniq<T_PointCloud>::Impl::Impl(DecoderJuniq* decoder)
    : owner(decoder), batch(std::make_unique<JuniqBatch>()) {
  BuildBeams();
}

template <typename T_PointCloud>
DecoderJuniq<T_PointCloud>::Impl::~Impl() = default;

template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::Impl::DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size,
                                                        std::uint16_t start) {
  const auto* const packet = PacketAs<JuniqMsop>(pkt, size);
  if (packet == nullptr) return false;
  const JuniqMsop& msop = *packet;
  const double packet_time = owner->TakePacketTime(msop.utc);
  clock.Begin(packet_time);
  if (frame_time == 0.0) frame_time = packet_time;

  const bool marker = DecodeBlocks(msop, start, packet_time);
  if (!marker && frame_point_count > kForcedFramePoints) CloseFrame(frame_time);
  if (marker && owner->split_frame_cb_) {
    Filter();
    if (owner->point_cloud_) StoreFrameHeader(msop, *owner->point_cloud_);
    CloseFrame(frame_time);
  }
  DecodeImu(msop, packet_time);
  return marker;
}

/// Decodes the blocks from `start` on; true when the frame marker is among them.
template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::Impl::DecodeBlocks(const JuniqMsop& msop, std::size_t start,
                                                    double packet_time) {
  if (start >= JuniqMsop::kBlocks) return false;
  const OrliqJuniqMsopBlock* const blocks = msop.blocks + start;
  batch->count = JuniqMsop::kBlocks - start;
  const JuniqSetup setup = {{beams, RangeWeights(weight), NearFilter(near_filter),
                             owner->ActiveTransform(), owner->DistanceLimits()},
                            GetLeftOrRightDistanceOffset(0),
                            GetLeftOrRightDistanceOffset(JuniqBatch::FIRST_RIGHT_COLUMN)};
  RunLoop<PulseLoop>(blocks, setup, *batch);
  owner->CountReturns(batch->count, batch->kept);
  Append(blocks, packet_time);
  return batch->marker;
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::Append(const OrliqJuniqMsopBlock* blocks,
                                              double packet_time) {
  const JuniqBatch& b = *batch;
  const BlockClock now = clock;
  clock.Advance(b.count, packet_time);
  frame_point_count += static_cast<std::uint32_t>(b.count);
  if (!owner->point_cloud_) return;
  const auto point_of = [=, &b](std::size_t i) {
    PointType point = b.template PointOf<PointType>(i);
    SetTimestamp(point, now.TimeOf(i, packet_time));
    SetDistance(point, SaturatingTruncate<std::int32_t>(b.distance[i]));
    SetJuniqMeasurement(point, blocks[i]);
    return point;
  };
  if (!filter) return AppendPoints(*owner->point_cloud_, b.count, point_of);
  AppendPoints(*owner->point_cloud_, b.count, point_of, [this, &b](std::size_t i, int index) {
    filter->UpdateHashMap(b.row[i], b.column[i], index, b.distance[i], b.is_null[i] != 0);
  });
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::Filter() {
  if (!filter) return;
  const std::size_t before = owner->point_cloud_ ? owner->point_cloud_->points.size() : 0;
  filter->RadiusFilter(owner->point_cloud_);
  if (owner->point_cloud_) owner->counts_.filtered.Add(before - owner->point_cloud_->points.size());
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::CloseFrame(double timestamp) {
  owner->EndFrame(timestamp);
  clock.EndFrame();
  frame_time = 0.0;
  frame_point_count = 0;
}

/// The end of the stream ends the frame: nothing of it may reach the next one, such as the first
/// frame that is played after the end of a capture.
template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::EndStream() {
  if (filter) filter->Reset();
  CloseFrame(0.0);
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::DecodeImu(const JuniqMsop& msop, double packet_time) {
  const std::uint32_t stamp = msop.imu_stamp;
  if (last_imu_stamp != 0 && last_imu_stamp == stamp) return;
  last_imu_stamp = stamp;
  if (!owner->imu_cb_ || !owner->imu_msg_) return;
  FillImuMsg<int>(*owner->imu_msg_, msop.imu, packet_time, IMU_UNITS);
  owner->imu_cb_();
}

template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::Impl::IsNewFrame(std::uint8_t column, std::uint8_t row) {
  return IsFrameMarker(column, row);
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
  return column < JuniqBatch::FIRST_RIGHT_COLUMN ? near_filter[8] : near_filter[7];
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
    RegisterPoints();
  }
}

/// Points that stand in the cloud already were decoded without the filter, and stay.
template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::RegisterPoints() {
  if (!owner->point_cloud_) return;
  const int count = static_cast<int>(owner->point_cloud_->points.size());
  for (int index = 0; index < count; ++index) filter->UpdateHashMap(0, 0, index, 0.0F, true);
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::Impl::BuildBeams() {
  beams.Fill(
      owner->trigon_, [this](std::uint16_t position) { return GetAzimuthElevation(position); },
      [this](std::uint16_t position) { return GetDistanceOffset(position); },
      [this](float azimuth, float elevation) { return owner->IsAngleRange(azimuth, elevation); });
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
  impl_->EndStream();
}

template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::SplitFrame(const std::uint8_t* pkt, std::size_t size,
                                            std::uint16_t& start) {
  return FindFrameMarker(PacketAs<JuniqMsop>(pkt, size), start);
}

template <typename T_PointCloud>
bool DecoderJuniq<T_PointCloud>::ShowsFrameBound(const std::uint8_t* pkt, std::size_t size) const {
  std::uint16_t start = 0;
  return FindFrameMarker(PacketAs<JuniqMsop>(pkt, size), start);
}

template <typename T_PointCloud>
void DecoderJuniq<T_PointCloud>::UpdateCheckParam(CheckParam* param) {
  if (param != nullptr) impl_->UpdateCheckParam(*static_cast<const OffsetCheckParam*>(param));
}

#define ORLIQ_INSTANTIATE(CLOUD) template class DecoderJuniq<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
