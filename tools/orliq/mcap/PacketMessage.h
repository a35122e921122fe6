// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "orliq/ros/RosTypes.h"

// A datagram of a sensor as a message of the type kRosPacket, in CDR, little-endian. Safe from any thread.
namespace orliq::cli {

struct PacketMessage {
  RosTime stamp;  ///< when it was recorded
  std::array<std::uint8_t, 4> source{};
  std::uint16_t source_port = 0;
  std::array<std::uint8_t, 4> destination{};
  std::uint16_t port = 0;  ///< of the destination
  std::string_view data;   ///< UDP payload
};

/// Appends the message.
void AppendPacket(const PacketMessage& packet, std::string& to);

/// Of bytes that may hold anything, with `data` among them; nothing when they are no such
/// message, or one of no datagram: too long, or of a time before 1970 or after 2038.
std::optional<PacketMessage> ReadPacketCdr(std::string_view cdr);

}  // namespace orliq::cli
