// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

namespace orliq::lidar {

/// What is fixed for a sensor model.
struct DecoderConstParam {
  std::uint16_t MSOP_LEN;               // [bytes] UDP payload of a measurement packet
  std::uint8_t MSOP_ID_LEN;             // leading identifier bytes to compare, at most 8
  std::array<std::uint8_t, 8> MSOP_ID;  // how every packet begins
  std::uint16_t LASER_NUM;              // channels (rings), handed out with each frame
  std::uint16_t BLOCKS_PER_PKT;         // data blocks in one packet
  float DISTANCE_MIN;                   // [m] nominal
  float DISTANCE_MAX;                   // [m] nominal
  float DISTANCE_RES;                   // [m] per count
  float MODEL_SCALE;                    // read by the models that need it
};

}  // namespace orliq::lidar
