// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "orliq/network/Transmission.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

/// The command line of the verb send.
struct SendOptions {
  std::string capture;
  TransmissionOptions transmission;
  std::uint16_t port = 0;
  std::string loop = "1";
  bool quiet = false;
};

/// Does it. Throws Failure when it cannot.
ExitCode RunSend(const SendOptions& options, Console& console);

}  // namespace orliq::cli
