// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/Interrupt.h"
#include "orliq/verbs/view/ViewCapture.h"
#include "orliq/verbs/view/ViewLive.h"
#include "orliq/verbs/view/ViewOptions.h"
#include "orliq/web/TcpPort.h"

namespace orliq::cli {
namespace {

/// Refuses by Failure, ahead of a long look at a capture.
void RequirePorts(const PageOptions& page, const FoxgloveOptions& foxglove) {
  if (page.port != 0 && foxglove.port == page.port && foxglove.address == page.address) {
    throw Failure(ExitCode::kUsage, "--foxglove needs another port than the page, which has " +
                                        std::to_string(page.port) + " (--http)");
  }
  RequireTcpPort(page.address, page.port);
  RequireFoxglovePort(foxglove);
}

}  // namespace

ExitCode RunView(const ViewOptions& options, Console& console) {
  CatchInterrupts();
  console.SetQuiet(options.live.listen.quiet);
  RequirePorts(options.page, options.foxglove);
  if (!options.capture.empty()) return ViewCapture(options, console);
  if (options.live.config.empty()) return ViewLive(options, console);
  const SensorFile file = ReadSensorFile(options.live.config);
  if (AreLive(file, options.live, "shown")) return ViewLive(options, file, console);
  return ViewCaptures(options, file, console);
}

}  // namespace orliq::cli
