// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "decoder/Decoder.h"

namespace orliq::lidar {

/// Decoder of the Hestra sensor, whose packets are accepted and not understood yet: no points, and
/// no frame but the one that the end of a capture closes.
template <typename T_PointCloud>
class DecoderHestra final : public Decoder<T_PointCloud> {
 public:
  explicit DecoderHestra(const DecoderParam& param);
  ~DecoderHestra() override;

  static DecoderConstParam GetConstParam();

  bool DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size, std::uint16_t start) override;
  void EnableFinallyFrame() override;
  bool SplitFrame(const std::uint8_t* pkt, std::size_t size, std::uint16_t& start) override;

  /// Does nothing: there is no range yet to correct.
  void UpdateCheckParam(CheckParam* param) override;
};

}  // namespace orliq::lidar
