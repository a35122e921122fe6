// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "simulator/sending/ReplyFaults.h"

namespace orliq::sim {

/// Where a ParamServer listens, and what goes wrong on purpose.
struct ParamServerOptions {
  std::string address = "127.0.0.1";  ///< IPv4, of this machine; 0.0.0.0 for all it has
  std::uint16_t port = 0;             ///< 0: any that is free
  std::uint64_t seed = 1;             ///< decides which replies are hit
  ReplyFaultRates rates;
  std::chrono::milliseconds delay{150};     ///< of a delayed reply
  std::chrono::milliseconds silence{1000};  ///< from the request on that begins it
  std::uint64_t restart_after = 0;      ///< replies that leave before the restart; 0: there is none
  std::chrono::milliseconds down{500};  ///< how long nobody has the port then
};

}  // namespace orliq::sim
