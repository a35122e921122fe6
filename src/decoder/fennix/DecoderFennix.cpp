// SPDX-License-Identifier: Apache-2.0
#include "decoder/fennix/DecoderFennix.h"

#include "decoder/CloudAppend.h"
#include "decoder/FrameMarker.h"
#include "decoder/fennix/FennixModel.h"

namespace orliq::lidar {
namespace {

constexpr double NO_TIME = 0.0;  // [s] of every frame

}  // namespace

template <typename T_PointCloud>
DecoderFennix<T_PointCloud>::DecoderFennix(const DecoderParam& param)
    : Decoder<T_PointCloud>(GetConstParam(), param) {}

template <typename T_PointCloud>
DecoderFennix<T_PointCloud>::~DecoderFennix() = default;

template <typename T_PointCloud>
DecoderConstParam DecoderFennix<T_PointCloud>::GetConstParam() {
  return kFennix;
}

template <typename T_PointCloud>
bool DecoderFennix<T_PointCloud>::DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size,
                                                   std::uint16_t start) {
  const auto* const msop = PacketAs<FennixMsop>(pkt, size);
  if (msop == nullptr || start >= FennixMsop::kBlocks) return false;
  bool new_frame = false;
  for (std::size_t k = start; k < FennixMsop::kBlocks; ++k) {
    new_frame |= IsFrameMarker(msop->blocks[k].column, msop->blocks[k].row);
  }
  if (this->point_cloud_) {
    AppendPoints(*this->point_cloud_, FennixMsop::kBlocks - start,
                 [](std::size_t) { return typename T_PointCloud::PointType(); });
  }
  if (new_frame) this->EndFrame(NO_TIME);
  return new_frame;
}

template <typename T_PointCloud>
void DecoderFennix<T_PointCloud>::EnableFinallyFrame() {
  this->EndFrame(NO_TIME);
}

template <typename T_PointCloud>
bool DecoderFennix<T_PointCloud>::SplitFrame(const std::uint8_t* pkt, std::size_t size,
                                             std::uint16_t& start) {
  return FindFrameMarker(PacketAs<FennixMsop>(pkt, size), start);
}

template <typename T_PointCloud>
bool DecoderFennix<T_PointCloud>::ShowsFrameBound(const std::uint8_t* pkt, std::size_t size) const {
  std::uint16_t start = 0;
  return FindFrameMarker(PacketAs<FennixMsop>(pkt, size), start);
}

template <typename T_PointCloud>
void DecoderFennix<T_PointCloud>::UpdateCheckParam(CheckParam* /*param*/) {}

#define ORLIQ_INSTANTIATE(CLOUD) template class DecoderFennix<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
