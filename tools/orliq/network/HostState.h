// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What this machine's interfaces and its network stack count. Nothing here sends a packet.
namespace orliq::cli {

/// An address of an interface; octets as in Datagram, the first in the high byte.
struct InterfaceAddress {
  std::uint32_t address = 0;
  std::uint32_t mask = 0;  ///< of its network

  /// That of everyone in the network.
  std::uint32_t Broadcast() const { return address | ~mask; }
};

/// A network interface.
struct Interface {
  std::string name;
  unsigned index = 0;
  bool up = false;       ///< switched on
  bool carrier = false;  ///< something is at the other end of its cable
  bool loopback = false;
  unsigned mtu = 0;  ///< [bytes] of the longest IP packet; 0: not known
  std::vector<InterfaceAddress> addresses;
  std::uint32_t packets = 0;  ///< received since it came up, as the next
  std::uint32_t errors = 0;   ///< of them damaged, or too many for it

  /// Whether packets for that address are for this machine: of a loopback a whole network is.
  bool Has(std::uint32_t address) const;
};

std::vector<Interface> ReadInterfaces();

/// Their IPv4 addresses: "127.0.0.1 (lo), 192.168.1.102 (eth0)"; "none" without any.
std::string LocalAddressText(const std::vector<Interface>& interfaces);

/// The interfaces of `after`, with what they received since `before`.
std::vector<Interface> Since(const std::vector<Interface>& before, std::vector<Interface> after);

/// Incoming packets of which the system delivered none, counted since it started, whoever they were for.
struct StackCounters {
  std::uint64_t no_port = 0;          ///< UDP to a port of this machine that no program has
  std::uint64_t bad_checksum = 0;     ///< UDP
  std::uint64_t reverse_path = 0;     ///< from an address to which another interface leads
  std::uint64_t pieces = 0;           ///< of packets that IP had split
  std::uint64_t not_reassembled = 0;  ///< packets of which a piece did not come

  StackCounters Since(const StackCounters& before) const;
};

StackCounters ReadStackCounters();

/// The most that net.core.rmem_max lets a program ask for [bytes]; 0 when it cannot be read.
std::uint64_t LargestReceiveBuffer();

/// This machine's address towards that one; nothing when no route leads there.
std::optional<std::uint32_t> AddressTowards(const std::string& address);

}  // namespace orliq::cli
