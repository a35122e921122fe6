// SPDX-License-Identifier: Apache-2.0
#include "decoder/DecoderFactory.h"

#include "common/Diagnostics.h"
#include "decoder/juniq/DecoderJuniq.h"

namespace orliq::lidar {

template <typename T_PointCloud>
std::shared_ptr<Decoder<T_PointCloud>> DecoderFactory<T_PointCloud>::CreateDecoder(
    const LidarType& type, const DecoderParam& param) {
  diagnostics::DecoderType(static_cast<std::uint32_t>(type));
  switch (type) {
    case LidarType::Juniq:
      return std::make_shared<DecoderJuniq<T_PointCloud>>(param);
    default:
      diagnostics::WrongLidarType();
      return nullptr;
  }
}

#define ORLIQ_INSTANTIATE(CLOUD) template class DecoderFactory<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
