// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/verbs/FoxgloveOptions.h"
#include "orliq/verbs/SourceOptions.h"

namespace orliq::cli {

/// Where the page is served.
struct PageOptions {
  std::string address = "127.0.0.1";  ///< IPv4, of this machine
  std::uint16_t port = 8787;          ///< 0: any that is free
  bool open = false;                  ///< in the browser of this machine
};

/// The command line of the verb view.
struct ViewOptions : SourceOptions {
  PageOptions page;
  FoxgloveOptions foxglove;
};

/// Does it. Throws Failure when it cannot.
ExitCode RunView(const ViewOptions& options, Console& console);

}  // namespace orliq::cli
