// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "decoder/Decoder.h"

namespace orliq::lidar {

/// Decoder of the Corvik sensor: a packet is one scan line of 192 samples at fixed azimuths, a frame
/// ends when the line number falls. No calibration tables; an inertial unit.
///
/// The packet whose line number has fallen still goes into the cloud that it closes. A cloud holds
/// one point per decoded sample: returns outside the limits stay, at the origin.
template <typename T_PointCloud>
class DecoderCorvik final : public Decoder<T_PointCloud> {
 public:
  explicit DecoderCorvik(const DecoderParam& param);
  ~DecoderCorvik() override;

  static DecoderConstParam GetConstParam();

  bool DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size, std::uint16_t start) override;
  void EnableFinallyFrame() override;

  /// Compares with the line that was seen last, by this method or by DecodeMsopPacket: a packet that
  /// was tested here does not end a frame there any more. `start` becomes 1.
  bool SplitFrame(const std::uint8_t* pkt, std::size_t size, std::uint16_t& start) override;
  bool ShowsFrameBound(const std::uint8_t* pkt, std::size_t size) const override;

  /// Does nothing: the directions of this model are fixed.
  void UpdateCheckParam(CheckParam* param) override;

 private:
  struct Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace orliq::lidar
