// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/Loopback.h"
#include "support/Patience.h"

namespace orliq::test {

/// Bytes that wait in the receive buffer of the socket bound to that port; -1 when none is bound.
inline long BytesWaiting(std::uint16_t port) {
  std::ifstream table("/proc/net/udp");
  std::string row, number, local, remote, state, queues;
  std::getline(table, row);  // names of the columns
  while (std::getline(table, row)) {
    std::istringstream(row) >> number >> local >> remote >> state >> queues;
    if (std::stoul(local.substr(local.find(':') + 1), nullptr, 16) != port) continue;
    return std::stol(queues.substr(queues.find(':') + 1), nullptr, 16);
  }
  return -1;
}

/// Sends without outrunning the receiver, and returns when it has taken everything or is gone.
inline bool SendAll(const std::vector<std::vector<std::uint8_t>>& payloads, std::uint16_t port) {
  const LoopbackSocket socket;
  const auto taken = [port] { return BytesWaiting(port) <= 0; };
  for (std::size_t i = 0; i < payloads.size(); ++i) {
    if (i % 32 == 0 && !Eventually(taken)) return false;
    socket.Send(port, payloads[i].data(), payloads[i].size());
  }
  return Eventually(taken);
}

}  // namespace orliq::test
