// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/clouds/LiveSource.h"
#include "orliq/network/ListenOptions.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/verbs/live/LiveAudience.h"
#include "orliq/verbs/params/UploadRemarks.h"

namespace orliq::cli {

/// The command line of the verb live.
struct LiveOptions {
  CloudOptions cloud;
  ListenOptions listen;
  FrameChoice choice;
  std::optional<std::string> params_from;
  UploadRequest upload;
  std::string config;  ///< of several sensors; empty: of one, by the options above
};

/// Does it. `audience` may be null. Throws Failure when it cannot.
ExitCode RunLive(const LiveOptions& options, Console& console, LiveAudience* audience = nullptr);

}  // namespace orliq::cli
