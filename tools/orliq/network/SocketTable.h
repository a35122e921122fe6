// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The UDP sockets of this machine, as the system lists them.
namespace orliq::cli {

/// A socket that does not belong to this process.
struct ForeignSocket {
  std::string address;     ///< it is bound to; empty: every address
  std::string inode;       ///< its name
  std::uint32_t user = 0;  ///< whose it is
};

/// The sockets bound to that port that do not belong to this process. One of IPv6 takes IPv4
/// datagrams too.
std::vector<ForeignSocket> ForeignSocketsOf(std::uint16_t port);

/// How many they are.
std::size_t ForeignSockets(std::uint16_t port);

/// The inodes of the sockets that a process holds, "self" or a number; none of one whose files this
/// user may not see.
std::vector<std::string> SocketsOfProcess(const std::string& process);

}  // namespace orliq::cli
