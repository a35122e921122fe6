// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "decoder/Decoder.h"

namespace orliq::lidar {

/// Decoder of the Fennix sensor, of which only the frames are known yet: one point at the origin for
/// each record, and a frame ends with the packet that holds the frame marker.
template <typename T_PointCloud>
class DecoderFennix final : public Decoder<T_PointCloud> {
 public:
  explicit DecoderFennix(const DecoderParam& param);
  ~DecoderFennix() override;

  static DecoderConstParam GetConstParam();

  bool DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size, std::uint16_t start) override;
  void EnableFinallyFrame() override;

  /// `start` becomes the marker's place counted from 1.
  bool SplitFrame(const std::uint8_t* pkt, std::size_t size, std::uint16_t& start) override;
  bool ShowsFrameBound(const std::uint8_t* pkt, std::size_t size) const override;

  /// Does nothing: there is no range yet to correct.
  void UpdateCheckParam(CheckParam* param) override;
};

}  // namespace orliq::lidar
