// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "decoder/Decoder.h"

namespace orliq::lidar {

/// Makes the decoder of a sensor model.
template <typename T_PointCloud>
class DecoderFactory {
 public:
  /// Prints the model's number. An empty pointer and a red line for a model without a decoder.
  static std::shared_ptr<Decoder<T_PointCloud>> CreateDecoder(const LidarType& type,
                                                              const DecoderParam& param);
};

}  // namespace orliq::lidar
