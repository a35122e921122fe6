// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/clouds/CloudOutput.h"
#include "orliq/clouds/CloudSaver.h"
#include "orliq/clouds/LiveSource.h"
#include "orliq/terminal/Console.h"
#include "orliq/verbs/live/SensorRows.h"

// The files that live writes while packets come.
namespace orliq::cli {

/// Null when no files are wanted. Throws Failure for what cannot be written to, and for one file that all
/// frames would go to.
std::unique_ptr<CloudSaver> MakeLiveSaver(const OutputOptions& output, const FrameChoice& choice,
                                          const CloudScene& scene,
                                          const std::vector<LivePackets>& sensors);

/// Says the first fault in writing, when it has come between two looks.
void TellFirstFault(const CloudSaver::Losses& before, const CloudSaver::Losses& now,
                    const Console& console);

/// Writes what waits and brings `losses`, those of the last look, up to date.
WrittenFiles FinishFiles(CloudSaver& saver, const std::string& out, CloudSaver::Losses& losses,
                         const Console& console);

}  // namespace orliq::cli
