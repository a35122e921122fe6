// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "orliq/foxglove/FoxgloveOutlet.h"
#include "orliq/terminal/CommandLine.h"
#include "orliq/terminal/Report.h"

namespace orliq::cli {

/// Where viewers of Foxglove's protocol connect, if they may.
struct FoxgloveOptions {
  std::optional<std::uint16_t> port;  ///< nothing: they may not; 0: any that is free
  std::string address = "127.0.0.1";  ///< IPv4, of this machine
  std::vector<std::string> origins;   ///< of pages that may connect, too
};

/// The options outlive the command.
void AddFoxgloveOptions(CommandLine& command, FoxgloveOptions& options);

/// Throws Failure for one of them that has no use.
void RequireFoxglove(const CommandLine& command);

/// Throws Failure when the port cannot be had: ahead of a long look at a capture.
void RequireFoxglovePort(const FoxgloveOptions& options);

/// Null without a port. `keeps_last` as of FoxgloveSettings.
std::unique_ptr<FoxgloveOutlet> MakeFoxglove(const FoxgloveOptions& options, bool keeps_last);

/// Lets viewers in, behind the last topic, and says where.
void OpenFoxglove(FoxgloveOutlet& outlet);

/// What the viewers got.
void AddFoxgloveRows(Report& report, const FoxgloveOutlet::Sums& sums);

}  // namespace orliq::cli
