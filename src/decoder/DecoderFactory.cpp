// SPDX-License-Identifier: Apache-2.0
#include "decoder/DecoderFactory.h"

#include "common/Diagnostics.h"
#include "decoder/brantis/DecoderBrantis.h"
#include "decoder/corvik/DecoderCorvik.h"
#include "decoder/fennix/DecoderFennix.h"
#include "decoder/glavor/DecoderGlavor.h"
#include "decoder/hestra/DecoderHestra.h"
#include "decoder/juniq/DecoderJuniq.h"
#include "decoder/kelvane/DecoderKelvane.h"

namespace orliq::lidar {

template <typename T_PointCloud>
std::shared_ptr<Decoder<T_PointCloud>> DecoderFactory<T_PointCloud>::CreateDecoder(
    const LidarType& type, const DecoderParam& param) {
  diagnostics::DecoderType(static_cast<std::uint32_t>(type));
  switch (type) {
    case LidarType::Brantis:
      return std::make_shared<DecoderBrantis<T_PointCloud>>(param);
    case LidarType::Corvik:
      return std::make_shared<DecoderCorvik<T_PointCloud>>(param);
    case LidarType::Fennix:
      return std::make_shared<DecoderFennix<T_PointCloud>>(param);
    case LidarType::Glavor:
      return std::make_shared<DecoderGlavor<T_PointCloud>>(param);
    case LidarType::Hestra:
      return std::make_shared<DecoderHestra<T_PointCloud>>(param);
    case LidarType::Juniq:
      return std::make_shared<DecoderJuniq<T_PointCloud>>(param);
    case LidarType::Kelvane:
      return std::make_shared<DecoderKelvane<T_PointCloud>>(param);
  }
  diagnostics::WrongLidarType();
  return nullptr;
}

#define ORLIQ_INSTANTIATE(CLOUD) template class DecoderFactory<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
