// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/clouds/LiveSource.h"
#include "orliq/network/ListenOptions.h"
#include "orliq/terminal/Console.h"
#include "orliq/verbs/live/LiveAudience.h"

namespace orliq::cli {

/// What of live's options counts for the sensors of a file.
struct FusedOptions {
  std::string config;
  const OutputOptions& output;
  const ListenOptions& listen;  ///< but for port and address, which each sensor has
  const FrameChoice& choice;    ///< of fused clouds; but for the source, likewise
  LiveAudience* audience;       ///< may be null
};

/// Receives all sensors of the file and fuses their frames.
ExitCode RunFusedLive(const FusedOptions& options, Console& console);

}  // namespace orliq::cli
