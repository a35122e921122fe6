// SPDX-License-Identifier: Apache-2.0
#include "decoder/Decoder.h"

#include <algorithm>
#include <cstring>
#include <ctime>

#include "common/Diagnostics.h"
#include "decoder/ReportLimiter.h"

namespace orliq::lidar {
namespace {

constexpr std::uint32_t kPacketDropped = 1;  // level of an error that costs one packet

}  // namespace

template <typename T_PointCloud>
Decoder<T_PointCloud>::Decoder(const DecoderConstParam& const_param, const DecoderParam& param)
    : param_(param),
      const_param_(const_param),
      transform_matrix_(param.transform_param),
      transform_enabled_(param.transform_param.enable != 0) {}

template <typename T_PointCloud>
Decoder<T_PointCloud>::~Decoder() = default;

template <typename T_PointCloud>
bool Decoder<T_PointCloud>::ProcessMsopPacket(const std::uint8_t* pkt, std::size_t size,
                                              std::uint16_t start) {
  // Shared by all decoders of this point type: an application sees one report, not one per sensor.
  static ReportLimiter length_reports;
  static ReportLimiter identifier_reports;
  packet_time_ = 0.0;
  if (size != const_param_.MSOP_LEN) {
    counts_.refused_length.Add();
    counts_.last_refused_length.Set(size);
    diagnostics::PacketLengthMismatch(const_param_.MSOP_LEN, size);
    length_reports.Run([this] { excb_({kErrorPacketLength, kPacketDropped}); });
    return false;
  }
  if (!HasIdentifier(pkt)) {
    counts_.refused_identifier.Add();
    diagnostics::PacketIdentifierMismatch();
    identifier_reports.Run([this] { excb_({kErrorPacketIdentifier, kPacketDropped}); });
    return false;
  }
  counts_.decoded.Add();
  return DecodeMsopPacket(pkt, size, start);
}

template <typename T_PointCloud>
bool Decoder<T_PointCloud>::toSplite(const std::uint8_t* pkt, std::size_t size,
                                     std::uint16_t& start) {
  static ReportLimiter length_reports;
  static ReportLimiter identifier_reports;
  if (size != const_param_.MSOP_LEN) {
    length_reports.Run([this] { excb_({kErrorPacketLength, kPacketDropped}); });
    return false;
  }
  if (!HasIdentifier(pkt)) {
    identifier_reports.Run([this] { excb_({kErrorPacketIdentifier, kPacketDropped}); });
    return false;
  }
  return SplitFrame(pkt, size, start);
}

template <typename T_PointCloud>
bool Decoder<T_PointCloud>::HasIdentifier(const std::uint8_t* pkt) const {
  return pkt != nullptr &&
         std::memcmp(pkt, const_param_.MSOP_ID.data(), const_param_.MSOP_ID_LEN) == 0;
}

template <typename T_PointCloud>
double Decoder<T_PointCloud>::GetTimeUTCWithUs(const UTCBlock& utc) {
  std::tm calendar = {};
  calendar.tm_sec = utc.second;
  calendar.tm_min = utc.minute;
  calendar.tm_hour = utc.hour;
  calendar.tm_mday = utc.day;
  calendar.tm_mon = utc.month - 1;
  calendar.tm_year = utc.year - 1900;
  return static_cast<double>(timegm(&calendar)) + utc.microsecond * 1e-6;
}

/// Many packets share a second, and the calendar costs as much as a tenth of decoding one.
template <typename T_PointCloud>
double Decoder<T_PointCloud>::TakePacketTime(const UTCBlock& utc) {
  UTCBlock second = utc;
  second.microsecond.Set(0);
  if (std::memcmp(&second, &second_, sizeof second) != 0) {
    second_time_ = GetTimeUTCWithUs(second);
    second_ = second;
  }
  return packet_time_ = second_time_ + utc.microsecond * 1e-6;
}

template <typename T_PointCloud>
void Decoder<T_PointCloud>::TransformPoint(float& x, float& y, float& z) const {
  if (TransformEnabled()) transform_matrix_.Apply(x, y, z);
}

template <typename T_PointCloud>
void Decoder<T_PointCloud>::UpdateTransform(const TransformParam& param) {
  const std::lock_guard<std::mutex> lock(transform_mutex_);
  param_.transform_param = param;
  transform_enabled_.store(param.enable != 0, std::memory_order_relaxed);
}

template <typename T_PointCloud>
bool Decoder<T_PointCloud>::IsAngleRange(const float& azimuth, const float& elevation) const {
  return AzimuthLimits().Holds(azimuth) && ElevationLimits().Holds(elevation);
}

template <typename T_PointCloud>
bool Decoder<T_PointCloud>::IsDistanceRange(const float& distance) const {
  return DistanceLimits().Holds(distance);
}

template <typename T_PointCloud>
bool Decoder<T_PointCloud>::IsImuSame(const IMUBlock& a, const IMUBlock& b) {
  return std::equal(std::begin(a.w), std::end(a.w), std::begin(b.w));
}

template <typename T_PointCloud>
void Decoder<T_PointCloud>::RegisterCallBack(const ErrorCallback& excb,
                                             const SplitFrameCallback& split_frame_cb) {
  excb_ = excb;
  split_frame_cb_ = split_frame_cb;
}

template <typename T_PointCloud>
void Decoder<T_PointCloud>::RegisterIMUCallBack(const std::function<void()>& imu_cb) {
  imu_cb_ = imu_cb;
}

#define ORLIQ_INSTANTIATE(CLOUD) template class Decoder<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
