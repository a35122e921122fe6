// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orliq/capture/FlowList.h"

namespace orliq::cli {

/// UDP packets that reached this machine's interfaces, whether or not any program got them.
struct SeenPackets {
  std::string why_not;       ///< why nothing could be looked at; empty: it was
  bool lacks_right = false;  ///< because this program may not
  std::size_t interfaces_looked_at = 0;
  std::vector<Flow> flows;              ///< by where they go, in the order in which they began
  std::vector<std::string> interfaces;  ///< at which each flow came in first; of 200 at most
  std::uint64_t missed = 0;             ///< that came too fast to be looked at
  /// "127.0.0.1:2400" -> replies of that host that it has no program on that UDP port.
  std::map<std::string, std::uint64_t> closed;

  bool Looked() const { return why_not.empty(); }
};

/// Looks at incoming packets of all interfaces from its making until Finish, on a thread of its own.
/// It never sends, nor makes an interface take what is not for this machine. Without the rights it
/// sees nothing and tells why.
class PacketLook {
 public:
  PacketLook() = default;
  virtual ~PacketLook() = default;
  PacketLook(const PacketLook&) = delete;
  PacketLook& operator=(const PacketLook&) = delete;

  virtual SeenPackets Finish() = 0;
};

std::unique_ptr<PacketLook> BeginPacketLook();

}  // namespace orliq::cli
