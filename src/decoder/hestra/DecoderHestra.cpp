// SPDX-License-Identifier: Apache-2.0
#include "decoder/hestra/DecoderHestra.h"

#include "decoder/hestra/HestraModel.h"

namespace orliq::lidar {
namespace {

constexpr double NO_TIME = 0.0;  // [s] of the frame

}  // namespace

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
  this->EndFrame(NO_TIME);
}

template <typename T_PointCloud>
bool DecoderHestra<T_PointCloud>::SplitFrame(const std::uint8_t* /*pkt*/, std::size_t /*size*/,
                                             std::uint16_t& /*start*/) {
  return false;
}

template <typename T_PointCloud>
void DecoderHestra<T_PointCloud>::UpdateCheckParam(CheckParam* /*param*/) {}

#define ORLIQ_INSTANTIATE(CLOUD) template class DecoderHestra<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
