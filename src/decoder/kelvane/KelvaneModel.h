// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "decoder/DecoderConstParam.h"
#include "decoder/kelvane/KelvanePacket.h"

namespace orliq::lidar {

/// What is fixed for the Kelvane sensor.
constexpr DecoderConstParam kKelvane = {
    sizeof(KelvaneMsop),
    4,
    {0x55, 0xAA, 0x5A, 0xA5},
    1,
    KelvaneMsop::kRecords,
    0.5F,
    350.0F,
    0.005F,
    80.0F,
};

}  // namespace orliq::lidar
