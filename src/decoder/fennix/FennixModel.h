// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "decoder/DecoderConstParam.h"
#include "decoder/fennix/FennixPacket.h"

namespace orliq::lidar {

/// What is fixed for the Fennix sensor.
constexpr DecoderConstParam kFennix = {
    sizeof(FennixMsop),
    8,
    {0xEE, 0xFF, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
    192,
    FennixMsop::kBlocks,
    0.4F,
    230.0F,
    0.005F,
    0.0625F,
};

}  // namespace orliq::lidar
