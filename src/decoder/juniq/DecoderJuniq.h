// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "decoder/Decoder.h"

namespace orliq::lidar {

/// Decoder of the Juniq sensor: 192 x 256 beam positions with calibrated directions, 64 returns a
/// packet, a frame marker block, an inertial unit.
///
/// A cloud holds one point per decoded block, so the place of a point in the cloud is a stable
/// function of the order of the blocks: returns outside the limits stay, at the origin. Only the
/// radius filter, when the check parameters ask for it, removes points.
template <typename T_PointCloud>
class DecoderJuniq final : public Decoder<T_PointCloud> {
 public:
  explicit DecoderJuniq(const DecoderParam& param);
  ~DecoderJuniq() override;

  static DecoderConstParam GetConstParam();

  bool DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size, std::uint16_t start) override;
  void EnableFinallyFrame() override;

  /// `start` becomes the marker's place counted from 1, which is the first block after it.
  bool SplitFrame(const std::uint8_t* pkt, std::size_t size, std::uint16_t& start) override;
  bool ShowsFrameBound(const std::uint8_t* pkt, std::size_t size) const override;

  /// Copies the record (an OffsetCheckParam) and rebuilds the beam table; must not run while
  /// another thread decodes. near_filter[4] == 1 installs a radius filter; nothing takes one away.
  void UpdateCheckParam(CheckParam* param) override;

  struct Impl;

  /// The working state, for tests of single steps.
  Impl& State() { return *impl_; }

 private:
  std::shared_ptr<Impl> impl_;
};

}  // namespace orliq::lidar
