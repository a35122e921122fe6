// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

/// The command line of the verb fetch-params.
struct FetchParamsOptions {
  std::string from;
  std::string model;
  std::string out;
  double time_limit = 120.0;  ///< [s]
  double wait = 5.0;          ///< [s]
  std::uint16_t local_port = 0;
  bool force = false;
  bool lenient = false;
  bool quiet = false;
};

/// Does it. Throws Failure when it cannot.
ExitCode RunFetchParams(const FetchParamsOptions& options, Console& console);

}  // namespace orliq::cli
