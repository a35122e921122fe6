// SPDX-License-Identifier: Apache-2.0
#include "decoder/brantis/DecoderBrantis.h"

#include <utility>

#include "decoder/brantis/BrantisModel.h"

namespace orliq::lidar {
namespace {

constexpr double NO_TIME = 0.0;  // [s] of the frame

}  // namespace

template <typename T_PointCloud>
DecoderBrantis<T_PointCloud>::DecoderBrantis(const DecoderParam& param)
    : Decoder<T_PointCloud>(GetConstParam(), param) {}

template <typename T_PointCloud>
DecoderBrantis<T_PointCloud>::~DecoderBrantis() = default;

template <typename T_PointCloud>
DecoderConstParam DecoderBrantis<T_PointCloud>::GetConstParam() {
  return kBrantis;
}

template <typename T_PointCloud>
bool DecoderBrantis<T_PointCloud>::DecodeMsopPacket(const std::uint8_t* /*pkt*/,
                                                    std::size_t /*size*/, std::uint16_t /*start*/) {
  return false;
}

template <typename T_PointCloud>
void DecoderBrantis<T_PointCloud>::EnableFinallyFrame() {
  this->EndFrame(NO_TIME);
}

template <typename T_PointCloud>
bool DecoderBrantis<T_PointCloud>::SplitFrame(const std::uint8_t* pkt, std::size_t size,
                                              std::uint16_t& start) {
  const auto* const msop = PacketAs<BrantisMsop>(pkt, size);
  if (msop == nullptr || !IsNewFrame(msop->frame_counter)) return false;
  start = 0;
  return true;
}

template <typename T_PointCloud>
void DecoderBrantis<T_PointCloud>::UpdateCheckParam(CheckParam* /*param*/) {}

template <typename T_PointCloud>
bool DecoderBrantis<T_PointCloud>::IsNewFrame(std::uint16_t frame_counter) {
  const bool first = !std::exchange(initialized_, true);
  if (!first && last_count_ <= frame_counter) return false;
  last_count_ = frame_counter;
  return !first;
}

#define ORLIQ_INSTANTIATE(CLOUD) template class DecoderBrantis<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
