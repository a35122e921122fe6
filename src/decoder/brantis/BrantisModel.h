// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "decoder/DecoderConstParam.h"
#include "decoder/brantis/BrantisPacket.h"

namespace orliq::lidar {

/// What is fixed for the Brantis sensor.
constexpr DecoderConstParam kBrantis = {
    sizeof(BrantisMsop),
    8,
    {0xEE, 0xFF, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
    56,
    192,
    0.4F,
    230.0F,
    0.005F,
    0.0625F,
};

}  // namespace orliq::lidar
