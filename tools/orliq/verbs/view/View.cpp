// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/Interrupt.h"
#include "orliq/verbs/view/ViewCapture.h"
#include "orliq/verbs/view/ViewLive.h"
#include "orliq/verbs/view/ViewOptions.h"
#include "orliq/web/TcpPort.h"

namespace orliq::cli {

ExitCode RunView(const ViewOptions& options, Console& console) {
  CatchInterrupts();
  console.SetQuiet(options.live.listen.quiet);
  RequireTcpPort(options.page.address, options.page.port);  // ahead of a long look at a capture
  RequireFoxglovePort(options.foxglove);
  if (!options.capture.empty()) return ViewCapture(options, console);
  if (options.live.config.empty()) return ViewLive(options, console);
  const SensorFile file = ReadSensorFile(options.live.config);
  if (AreLive(file, options.live, "shown")) return ViewLive(options, file, console);
  return ViewCaptures(options, file, console);
}

}  // namespace orliq::cli
