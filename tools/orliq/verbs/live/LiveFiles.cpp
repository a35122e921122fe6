// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/LiveFiles.h"

#include "orliq/verbs/CommonRows.h"

namespace orliq::cli {

std::unique_ptr<CloudSaver> MakeLiveSaver(const OutputOptions& output, const FrameChoice& choice,
                                          std::size_t room) {
  const std::string& out = output.out;
  if (out.empty()) return nullptr;
  if (choice.frames != 1 && ExamineTarget(out, output.format, output.force).single_file) {
    throw Failure(ExitCode::kUsage, "--out " + out +
                                        " is one file, which takes one frame: name a "
                                        "folder, or add --frames 1");
  }
  return std::make_unique<CloudSaver>(out, output.format, output.force, room);
}

void TellFirstFault(const CloudSaver::Losses& before, const CloudSaver::Losses& now,
                    const Console& console) {
  if (before.faults == 0 && now.faults > 0) console.Note(now.first_fault);
}

WrittenFiles FinishFiles(CloudSaver& saver, const std::string& out, CloudSaver::Losses& losses,
                         const Console& console) {
  saver.Finish();
  const CloudSaver::Losses found = saver.Found();
  TellFirstFault(losses, found, console);
  losses = found;
  return {FilesText(saver.Writer(), out), saver.Writer().Files()};
}

}  // namespace orliq::cli
