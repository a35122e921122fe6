// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "orliq/network/ListenOptions.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

/// The command line of the verb record.
struct RecordOptions {
  ListenOptions listen;
  std::string out;
  std::optional<std::uint64_t> packets;
  std::optional<double> max_megabytes;
  bool force = false;
};

/// Does it. Throws Failure when it cannot.
ExitCode RunRecord(const RecordOptions& options, Console& console);

}  // namespace orliq::cli
