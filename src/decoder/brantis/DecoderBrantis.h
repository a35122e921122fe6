// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "decoder/Decoder.h"

namespace orliq::lidar {

/// Decoder of the Brantis sensor, whose measurements are not understood yet: no points. Its frame
/// counter bounds the frames of a capture; while packets are decoded none is closed.
template <typename T_PointCloud>
class DecoderBrantis final : public Decoder<T_PointCloud> {
 public:
  explicit DecoderBrantis(const DecoderParam& param);
  ~DecoderBrantis() override;

  static DecoderConstParam GetConstParam();

  bool DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size, std::uint16_t start) override;
  void EnableFinallyFrame() override;

  /// `start` becomes 0.
  bool SplitFrame(const std::uint8_t* pkt, std::size_t size, std::uint16_t& start) override;

  /// Does nothing: there is no range yet to correct.
  void UpdateCheckParam(CheckParam* param) override;

  /// True when the counter is below the lowest one so far, which it then becomes: of the counters 5,
  /// 10, 20, 3, 10, 20, 4 only 3 is a new frame.
  bool IsNewFrame(std::uint16_t frame_counter);

 private:
  bool initialized_ = false;      // a counter has been seen
  std::uint16_t last_count_ = 0;  // at the first packet, or at the last new frame
};

}  // namespace orliq::lidar
