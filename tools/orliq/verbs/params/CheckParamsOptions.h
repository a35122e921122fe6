// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

/// The command line of the verb check-params.
struct CheckParamsOptions {
  std::string folder;
  std::string model;
  std::string plot;
  bool force = false;
  bool quiet = false;
};

/// Does it. Throws Failure when it cannot.
ExitCode RunCheckParams(const CheckParamsOptions& options, Console& console);

}  // namespace orliq::cli
