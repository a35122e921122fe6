// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

/// The command line of the verb fuse.
struct FuseOptions {
  std::string config;
  OutputOptions output;
  std::string frames;
  bool partial = false;
  bool quiet = false;
};

/// Does it. Throws Failure when it cannot.
ExitCode RunFuse(const FuseOptions& options, Console& console);

}  // namespace orliq::cli
