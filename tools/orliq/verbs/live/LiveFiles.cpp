// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/LiveFiles.h"

#include "orliq/verbs/CommonRows.h"

namespace orliq::cli {

std::unique_ptr<CloudSaver> MakeLiveSaver(const OutputOptions& output, const FrameChoice& choice,
                                          const CloudScene& scene,
                                          const std::vector<LivePackets>& sensors) {
  ExamineOutput(output);
  if (output.out.empty()) return nullptr;
  if (choice.frames != 1 && TakesOneCloud(output)) {
    throw Failure(ExitCode::kUsage, "--out " + output.out +
                                        " is one file, which takes one frame: name a "
                                        "folder, or add --frames 1");
  }
  return std::make_unique<CloudSaver>(OpenLiveOutput(output, scene, sensors),
                                      CloudSaver::RoomFor(sensors.size()));
}

void TellFirstFault(const CloudSaver::Losses& before, const CloudSaver::Losses& now,
                    const Console& console) {
  if (before.first_fault.empty() && !now.first_fault.empty()) console.Note(now.first_fault);
}

WrittenFiles FinishFiles(CloudSaver& saver, const std::string& out, CloudSaver::Losses& losses,
                         const Console& console) {
  saver.Finish();
  const CloudSaver::Losses found = saver.Found();
  TellFirstFault(losses, found, console);
  losses = found;
  return {FilesText(saver.Sink(), out), saver.Sink().Files()};
}

}  // namespace orliq::cli
