// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/verbs/SourceOptions.h"
#include "orliq/verbs/bridge/BridgeSite.h"

namespace orliq::cli {

/// The command line of the verb bridge.
struct BridgeOptions : SourceOptions {
  PublishOptions publish;
  std::string name;   ///< of the only sensor; empty: that of its model
  bool loop = false;  ///< a capture begins anew at its end
  bool list = false;  ///< what the bridges of the network publish, instead
};

/// Does it. Throws Failure when it cannot.
ExitCode RunBridge(const BridgeOptions& options, Console& console);

}  // namespace orliq::cli
