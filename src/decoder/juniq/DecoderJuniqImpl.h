// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "decoder/BeamTable.h"
#include "decoder/BlockClock.h"
#include "decoder/juniq/DecoderJuniq.h"
#include "decoder/juniq/JuniqBatch.h"
#include "decoder/juniq/JuniqPacket.h"
#include "filter/CloudFilter.h"
#include "param/CheckParam.h"

namespace orliq::lidar {

/// Working state of a Juniq decoder and the steps of decoding, in the order in which they run.
template <typename T_PointCloud>
struct DecoderJuniq<T_PointCloud>::Impl {
  using PointType = typename T_PointCloud::PointType;

  explicit Impl(DecoderJuniq* decoder);
  ~Impl();
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  bool DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size, std::uint16_t start);
  /// Hands the frame out with its time [s] and begins the next one.
  void Filter();
  void CloseFrame(double timestamp);
  void EndStream();
  void UpdateCheckParam(const OffsetCheckParam& param);

  /// True for the block that ends a frame.
  static bool IsNewFrame(std::uint8_t column, std::uint8_t row);

  /// Reserved for a confidence rule of the sensor: no return is marked, decoding does not ask.
  static bool IsConfident(const OrliqJuniqMsopBlock& block);

  /// Direction of a beam position by the tables; 0 beyond them.
  BeamAngles GetAzimuthElevation(std::uint16_t position) const;

  /// Range offset [m] of a beam position; 0 beyond the table.
  float GetDistanceOffset(std::uint16_t position) const;

  /// Range offset [m] of the half of the receiver that the column belongs to.
  float GetLeftOrRightDistanceOffset(int column) const;

  /// Prints the elevation table, for a look at what was loaded.
  void Print() const;

  std::uint32_t last_imu_stamp = 0;  // 0: none yet
  DecoderJuniq* owner;
  OffsetCheckParam check_param;
  std::shared_ptr<CloudFilter<T_PointCloud>> filter;  // null until the check parameters ask for it
  BlockClock clock;                                   // times of the points
  double frame_time = 0.0;                            // [s] UTC, first packet of the frame
  std::uint32_t frame_point_count = 0;
  BeamTable beams;                    // check_param, ready for decoding
  float weight[4] = {};               // aligned copies of the packed vectors, for the inner loops
  float near_filter[9] = {};          // likewise
  std::unique_ptr<JuniqBatch> batch;  // the returns that are being decoded

 private:
  void BuildBeams();
  void RegisterPoints();
  bool DecodeBlocks(const JuniqMsop& msop, std::size_t start, double packet_time);
  void Append(const OrliqJuniqMsopBlock* blocks, double packet_time);
  void DecodeImu(const JuniqMsop& msop, double packet_time);
};

}  // namespace orliq::lidar
