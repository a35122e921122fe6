// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace orliq::cli {

/// Frames `first` to before `last`.
struct FrameRange {
  int first = 0;
  std::optional<int> last;  ///< nothing: to the end of the capture
};

/// Reads "A:B", where either side may be missing; an empty text is the whole capture. Throws
/// Failure for anything else and for a range without a frame.
FrameRange ParseFrameRange(const std::string& text);

/// The range with an end inside a capture of `frames` frames. Throws Failure when it lies behind
/// them.
FrameRange WithinCapture(const FrameRange& range, int frames);

}  // namespace orliq::cli
