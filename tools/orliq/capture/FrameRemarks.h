// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "orliq/capture/FrameCounter.h"

// Remarks on the frames of a capture, each a sentence or empty. No frame of a model that delivers
// none is worth one.
namespace orliq::cli {

/// On frames that are in pieces.
std::string TornText(const std::vector<FrameRecords>& frames, const Model& model);

/// On frames with the packets of more than one, which count as one nevertheless.
std::string JoinedText(const std::vector<FrameRecords>& frames, const Model& model);

/// On frames whose wholeness nothing tells, as there is one mark only.
std::string SingleMarkText(const std::vector<FrameRecords>& frames, const Model& model);

}  // namespace orliq::cli
