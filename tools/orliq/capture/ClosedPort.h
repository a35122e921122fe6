// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace orliq::cli {

/// Where an ICMP message that a UDP port is closed says that its datagram went, as
/// "192.168.1.200:2368"; empty for any other Ethernet frame.
std::string ClosedEndpoint(const std::uint8_t* frame, std::size_t size);

}  // namespace orliq::cli
