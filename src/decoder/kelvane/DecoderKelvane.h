// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "decoder/Decoder.h"

namespace orliq::lidar {

/// Decoder of the Kelvane sensor: 520 columns of fixed elevation, swept over the azimuth in cycles
/// of two or four packets; a frame ends when the sequence number starts again. No calibration
/// tables, no time (that of every point and frame is 0.0), no extrinsic transform.
///
/// The frame is handed out before the first packet of the next one is decoded. Records outside the
/// limits are left out of the cloud.
template <typename T_PointCloud>
class DecoderKelvane final : public Decoder<T_PointCloud> {
 public:
  explicit DecoderKelvane(const DecoderParam& param);
  ~DecoderKelvane() override;

  static DecoderConstParam GetConstParam();

  /// Every record is decoded, whatever `start`.
  bool DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size, std::uint16_t start) override;
  void EnableFinallyFrame() override;

  /// Moves the same sequence window as DecodeMsopPacket. `start` becomes 0.
  bool SplitFrame(const std::uint8_t* pkt, std::size_t size, std::uint16_t& start) override;
  void NoteJump() override;
  bool ShowsFrameBound(const std::uint8_t* pkt, std::size_t size) const override;

  /// Does nothing: the directions of this model are fixed.
  void UpdateCheckParam(CheckParam* param) override;

 private:
  struct Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace orliq::lidar
