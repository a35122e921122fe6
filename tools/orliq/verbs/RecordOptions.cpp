// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/RecordOptions.h"

#include <memory>

#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

constexpr double kMaxMegabytes = 1e9;  // more than any disk

void AddOptions(CommandLine& command, RecordOptions& options) {
  AddListenOptions(command, options.listen);
  command.Add("--out", options.out, "capture file to write").Required().NotEmpty();
  command.Add("--packets", options.packets, "stop after that many packets").Within(1.0, 1e15);
  command
      .Add("--max-size", options.max_megabytes,
           "[MB of 1,000,000 bytes] stop before the file gets larger")
      .Within(0.1, kMaxMegabytes);
  command.AddFlag("--force", options.force, "let --out replace a file that is no capture");
}

}  // namespace

Verb AddRecord(Program& program) {
  const auto options = std::make_shared<RecordOptions>();
  CommandLine command = program.AddVerb(
      "record", "Writes the packets of a live sensor to a capture file that orliq play reads.");
  AddOptions(command, *options);
  command.Footer(
      "It runs until a limit, Ctrl-C or SIGTERM; the file then is complete. It begins with the "
      "rest of a frame, as a sensor does not wait for it. No other program may listen on the port "
      "meanwhile.\n\n"
      "Example:\n  orliq record --port 2368 --out room.pcap --duration 30");
  return {command, [options](Console& console) { return RunRecord(*options, console); }};
}

}  // namespace orliq::cli
