// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

namespace orliq::cli {

// What a page asks for: docs/view-protocol.md.
struct FrameShown {
  std::uint64_t frame = 0;  ///< its number
};
struct SetPlaying {
  bool playing = false;
};
struct StepFrames {
  int by = 1;  ///< 1: the next frame, -1: the one before
};
struct SeekFrame {
  int entry = 0;  ///< of the capture
};
struct SetSpeed {
  double factor = 1.0;  ///< kSlowest to kFastest times real time
};
struct SetLoop {
  bool on = false;
};

constexpr double kSlowest = 0.1;
constexpr double kFastest = 10.0;

using PlayerCommand = std::variant<SetPlaying, StepFrames, SeekFrame, SetSpeed, SetLoop>;
using ViewCommand = std::variant<FrameShown, PlayerCommand>;

/// Nothing for a text that is no such command, whatever it holds.
std::optional<ViewCommand> ParseCommand(std::string_view text);

}  // namespace orliq::cli
