// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "common/Counter.h"
#include "decoder/DecoderConstParam.h"
#include "decoder/ExtrinsicTransform.h"
#include "decoder/Interval.h"
#include "decoder/PacketBlocks.h"
#include "decoder/Trigon.h"
#include "multi_driver/DriverParam.h"
#include "multi_driver/Messages.h"
#include "multi_driver/PointCloud.h"
#include "param/CheckParam.h"

namespace orliq::lidar {

/// Turns the measurement packets of one sensor into points of the current cloud. The base checks
/// length and identifier and holds what all models share; a model decodes.
///
/// Threads: packets, callbacks and the current cloud belong to one decoding thread; only
/// UpdateTransform may be called from another thread meanwhile.
/// Ownership: the manager installs the cloud and the IMU message; the decoder shares them until the
/// next are installed.
template <typename T_PointCloud>
class Decoder {
 public:
  using PointType = typename T_PointCloud::PointType;
  using ErrorCallback = std::function<void(const Error&)>;
  using SplitFrameCallback = std::function<void(const std::uint16_t&, const double&)>;

  /// Both records are copied; the transform matrix is built here and never again.
  Decoder(const DecoderConstParam& const_param, const DecoderParam& param);
  virtual ~Decoder();
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  /// Decodes a packet of the model's length from block `start` (counted from 0) on. True when it
  /// carries a frame boundary.
  virtual bool DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size, std::uint16_t start) = 0;

  /// Closes the frame that is being built, with the time 0.0.
  virtual void EnableFinallyFrame() = 0;

  /// Tells without decoding whether the packet carries a frame boundary, and stores in `start` the
  /// value to decode it with; `start` is untouched otherwise.
  virtual bool SplitFrame(const std::uint8_t* pkt, std::size_t size, std::uint16_t& start) = 0;

  /// Takes over the sensor's check parameters; the model's record is copied. Null does nothing.
  virtual void UpdateCheckParam(CheckParam* param) = 0;

  /// Whether a packet of the model by itself shows a frame's bound. What SplitFrame finds beyond that,
  /// by the packets before, is not seen. From any thread.
  virtual bool ShowsFrameBound(const std::uint8_t* /*pkt*/, std::size_t /*size*/) const {
    return false;
  }

  /// Tells that the next packet does not follow the last one, as where a capture is read from elsewhere:
  /// what counts lost packets begins anew. Frames and points do not depend on it.
  virtual void NoteJump() {}

  /// Checks length and identifier, then decodes. A refused packet is printed each time and reported
  /// to the error callback at most once in two seconds per kind; it returns false.
  bool ProcessMsopPacket(const std::uint8_t* pkt, std::size_t size, std::uint16_t start);

  /// Checks as ProcessMsopPacket does, without printing, then asks SplitFrame.
  bool toSplite(const std::uint8_t* pkt, std::size_t size, std::uint16_t& start);

  /// Packet time [s] since 1970-01-01 UTC. Fields out of range carry over, as timegm does it.
  static double GetTimeUTCWithUs(const UTCBlock& utc);

  /// Applies the extrinsic transform to the point [m], when it is enabled.
  void TransformPoint(float& x, float& y, float& z) const;

  /// Switches the transform on or off. The matrix stays the one built at construction.
  void UpdateTransform(const TransformParam& param);

  /// Inclusive limits, [deg] and [m]; NaN is outside.
  bool IsAngleRange(const float& azimuth, const float& elevation) const;
  bool IsDistanceRange(const float& distance) const;
  static bool IsImuSame(const IMUBlock& a, const IMUBlock& b);

  void RegisterCallBack(const ErrorCallback& excb, const SplitFrameCallback& split_frame_cb);
  void RegisterIMUCallBack(const std::function<void()>& imu_cb);

  /// What ProcessMsopPacket did with its packets, and what was in them; may be read from any thread.
  struct PacketCounts {
    Counter decoded, refused_length, refused_identifier;
    Counter last_refused_length;  // [bytes]
    Counter returns;              // that were measured, whatever became of them
    Counter gated;                // of them, null or outside the limits
    Counter filtered;             // of them, taken out by the radius filter
    Counter skipped;              // packets that their sequence numbers miss
  };
  const PacketCounts& Counts() const { return counts_; }

  /// The time [s] that the last packet told; 0.0 of a model without and of a refused packet. Of the
  /// decoding thread.
  double PacketTime() const { return packet_time_; }

  const std::shared_ptr<T_PointCloud>& CurrentCloud() const { return point_cloud_; }
  void InstallCloud(std::shared_ptr<T_PointCloud> cloud) { point_cloud_ = std::move(cloud); }
  const std::shared_ptr<ImuMsg>& CurrentImuMsg() const { return imu_msg_; }
  void InstallImuMsg(std::shared_ptr<ImuMsg> msg) { imu_msg_ = std::move(msg); }

 protected:
  Interval DistanceLimits() const { return {param_.min_distance, param_.max_distance}; }
  Interval AzimuthLimits() const { return {param_.min_azimuth, param_.max_azimuth}; }
  Interval ElevationLimits() const { return {param_.min_elevation, param_.max_elevation}; }
  /// Hands the frame out with its time [s], with whatever callback is there.
  void EndFrame(double timestamp) { split_frame_cb_(const_param_.LASER_NUM, timestamp); }
  /// The time [s] of the packet that is being decoded.
  double TakePacketTime(const UTCBlock& utc);
  void CountReturns(std::size_t returns, std::size_t kept) {
    counts_.returns.Add(returns);
    counts_.gated.Add(returns - kept);
  }
  bool TransformEnabled() const { return transform_enabled_.load(std::memory_order_relaxed); }
  /// Null while the transform is switched off.
  const ExtrinsicTransform* ActiveTransform() const {
    return TransformEnabled() ? &transform_matrix_ : nullptr;
  }

  Trigon trigon_;
  std::shared_ptr<T_PointCloud> point_cloud_;  // being filled; null drops points
  std::shared_ptr<ImuMsg> imu_msg_;            // null means no IMU output
  DecoderParam param_;                         // transform_param guarded by transform_mutex_
  const DecoderConstParam const_param_;
  ErrorCallback excb_;
  SplitFrameCallback split_frame_cb_;
  std::function<void()> imu_cb_;
  std::mutex transform_mutex_;
  const ExtrinsicTransform transform_matrix_;
  // Copy of param_.transform_param.enable: a lock for every point would cost as much as decoding
  // it.
  std::atomic<bool> transform_enabled_;
  PacketCounts counts_;

 private:
  bool HasIdentifier(const std::uint8_t* pkt) const;

  double packet_time_ = 0.0;                        // [s] since 1970 UTC
  UTCBlock second_ = {};                            // of the last packet, without its microseconds
  double second_time_ = GetTimeUTCWithUs(second_);  // [s] since 1970 UTC
};

}  // namespace orliq::lidar
