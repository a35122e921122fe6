// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/play/FrameRange.h"

#include <algorithm>
#include <charconv>

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

[[noreturn]] void ThrowMalformed(const std::string& text) {
  throw Failure(ExitCode::kUsage, "--frames " + text +
                                      " is no range of frames: write A:B for frame A to before "
                                      "frame B, such as 0:10, 5: or :20");
}

/// A frame number; nothing for an empty text.
std::optional<int> ParseSide(const std::string& side, const std::string& whole) {
  if (side.empty()) return std::nullopt;
  int number = 0;
  const char* const end = side.data() + side.size();
  const auto result = std::from_chars(side.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end || number < 0) ThrowMalformed(whole);
  return number;
}

}  // namespace

FrameRange ParseFrameRange(const std::string& text) {
  if (text.empty()) return {};
  const std::size_t colon = text.find(':');
  if (colon == std::string::npos) ThrowMalformed(text);
  const FrameRange range = {ParseSide(text.substr(0, colon), text).value_or(0),
                            ParseSide(text.substr(colon + 1), text)};
  if (range.last && *range.last <= range.first) ThrowMalformed(text);
  return range;
}

FrameRange WithinCapture(const FrameRange& range, int frames) {
  if (range.first >= frames) {
    throw Failure(ExitCode::kUsage, "--frames begins at " + std::to_string(range.first) +
                                        ", but the capture's last frame is " +
                                        std::to_string(frames - 1));
  }
  return {range.first, std::min(range.last.value_or(frames), frames)};
}

}  // namespace orliq::cli
