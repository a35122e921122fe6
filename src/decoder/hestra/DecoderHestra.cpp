// SPDX-License-Identifier: Apache-2.0
#include "decoder/hestra/DecoderHestra.h"

#include "decoder/hestra/HestraModel.h"

namespace orliq::lidar {

template <typename T_PointCloud>
DecoderHestra<T_PointCloud>::DecoderHestra(const DecoderParam& param)
    : Decoder<T_PointCloud>(GetConstParam(), param) {}

template <typename T_PointCloud>
DecoderHestra<T_PointCloud>::~DecoderHestra() = default;

template <typename T_PointCloud>
DecoderConstParam DecoderHestra<T_PointCloud>::GetConstParam() {
  return kHestra;
}

template <typename T_PointCloud>
bool DecoderHestra<T_PointCloud>::DecodeMsopPacket(const std::uint8_t* /*pkt*/,
                                                   std::size_t /*size*/, std::uint16_t /*start*/) {
  return false;
}

/// So that a frame which is requested from a capture always ends in a cloud, though an empty one.
template <typename T_PointCloud>
void DecoderHestra<T_PointCloud>::EnableFinallyFrame() {
  this->split_frame_cb_(this->const_param_.LASER_NUM, 0.0);
}

template <typename T_PointCloud>
bool DecoderHestra<T_PointCloud>::SplitFrame(const std::uint8_t* /*pkt*/, std::size_t /*size*/,
                                             std::uint16_t& /*start*/) {
  return false;
}

template <typename T_PointCloud>
void DecoderHestra<T_PointCloud>::UpdateCheckParam(CheckParam* /*param*/) {}

template <typename T_PointCloud>
bool DecoderHestra<T_PointCloud>::IsNewFrame(std::uint16_t row, std::uint16_t column) {
  return row == 0xBF && column == 0x7F;
}

#define ORLIQ_INSTANTIATE(CLOUD) template class DecoderHestra<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
