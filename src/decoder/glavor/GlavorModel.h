// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "decoder/DecoderConstParam.h"
#include "decoder/glavor/GlavorPacket.h"

namespace orliq::lidar {

/// What is fixed for the Glavor sensor.
constexpr DecoderConstParam kGlavor = {
    sizeof(GlavorMsop),
    8,
    {0xEE, 0xFF, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
    192,
    GlavorMsop::kBlocks,
    0.4F,
    230.0F,
    0.005F,
    0.0625F,
};

}  // namespace orliq::lidar
