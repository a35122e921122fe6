// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "decoder/Decoder.h"

namespace orliq::lidar {

/// Decoder of the Glavor sensor: 192 x 256 beam positions with calibrated directions, 32 returns a
/// packet, a frame marker block. Its packets carry no time: that of every point and frame is 0.0.
///
/// A cloud holds one point per decoded block: returns outside the limits stay, at the origin.
template <typename T_PointCloud>
class DecoderGlavor final : public Decoder<T_PointCloud> {
 public:
  explicit DecoderGlavor(const DecoderParam& param);
  ~DecoderGlavor() override;

  static DecoderConstParam GetConstParam();

  bool DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size, std::uint16_t start) override;
  void EnableFinallyFrame() override;

  /// `start` becomes the marker's place counted from 1, which is the first block after it.
  bool SplitFrame(const std::uint8_t* pkt, std::size_t size, std::uint16_t& start) override;
  bool ShowsFrameBound(const std::uint8_t* pkt, std::size_t size) const override;

  /// Copies the record (an AngleCheckParam) and rebuilds the beam table; must not run while another
  /// thread decodes.
  void UpdateCheckParam(CheckParam* param) override;

 private:
  struct Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace orliq::lidar
