// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

/// The command line of the verb info.
struct InfoOptions {
  std::string capture;
  std::string model;
  std::optional<std::string> check_folder;
  std::string source;
  std::uint16_t port = 0;
  bool quiet = false;
};

/// Does it. Throws Failure when it cannot.
ExitCode RunInfo(const InfoOptions& options, Console& console);

}  // namespace orliq::cli
