// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "orliq/config/SensorFile.h"
#include "orliq/terminal/CommandLine.h"
#include "orliq/verbs/live/LiveOptions.h"

namespace orliq::cli {

/// Whose clouds are shown or published: of a live sensor, of a capture, or of several of either, as a
/// file describes them.
struct SourceOptions {
  std::string capture;                ///< empty: live, or by the file of several sensors
  std::optional<std::uint16_t> port;  ///< of a capture; as of play
  bool partial = false;
  LiveOptions live;  ///< live or not
};

/// `does` is what becomes of the clouds: "show". The options outlive the command.
void AddSourceOptions(CommandLine& command, SourceOptions& options, const std::string& does);

/// What listens only to live sensors, and how the end is told.
void AddLiveSourceOptions(CommandLine& command, LiveOptions& live);

/// Throws Failure when it is not clear what is meant, or does not fit together; else completes it.
void RequireSource(const CommandLine& command, SourceOptions& options);

/// Of a file of sensors, which are all live or all of captures: else throws Failure, that they cannot be
/// `done` together, as well as for an option of live sensors that captures have no use for.
bool AreLive(const SensorFile& file, const LiveOptions& live, const std::string& done);

}  // namespace orliq::cli
