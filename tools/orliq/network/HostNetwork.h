// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// What this machine's network looks like to a sensor.
namespace orliq::cli {

/// Of an IPv4 address, 192.168.1.200 as 0xC0A801C8.
std::array<std::uint8_t, 4> Octets(std::uint32_t address);

/// "192.168.1.102:2368"; an empty address is 0.0.0.0, every address.
std::string EndpointText(const std::string& address, std::uint16_t port);

/// The machine's IPv4 addresses: "127.0.0.1 (lo), 192.168.1.102 (eth0)"; "none" without any.
std::string LocalAddressText();

/// Whether an IPv4 address in dotted form is one of this machine's; all of 127.0.0.0/8 but its ends is.
bool IsLocalAddress(const std::string& address);

/// "ss -lunp 'sport = :2368' names it": how to find the program behind a socket.
std::string SocketOwnerHint(std::uint16_t port);

/// "ss -lunp 'sport = :2368'"
std::string SocketOwnerCommand(std::uint16_t port);

/// What an administrator types for receive buffers as large as the driver asks for: until the machine
/// starts again, and from then on.
std::vector<std::string> LargerBufferCommands();

/// What helps against datagrams that found the receive buffer of a socket full; the system grants
/// twice the bytes that it lets a program ask for, to cover its own records.
std::string BufferAdvice(std::uint64_t granted_bytes);

}  // namespace orliq::cli
