// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/verbs/play/FrameRange.h"

namespace orliq::cli {

/// The command line of the verb play.
struct PlayOptions {
  std::string capture;  ///< or a file of messages
  std::string topic;    ///< of that: whose packets count; empty: all
  CloudOptions cloud;
  std::string frames;
  std::optional<std::uint16_t> port;  ///< nothing: the port whose packets fit the model; 0: any
  std::string source;                 ///< address of the sender; empty: any
  bool partial = false;               ///< keeps frames that are not whole
  bool quiet = false;
};

/// Does it. Throws Failure when it cannot.
ExitCode RunPlay(const PlayOptions& options, Console& console);

}  // namespace orliq::cli
