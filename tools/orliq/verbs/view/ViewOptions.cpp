// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/view/ViewOptions.h"

#include <memory>

#include "orliq/sensors/Models.h"
#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

void AddPageOptions(CommandLine& command, PageOptions& page) {
  command.Add("--http", page.port, "TCP port of the page; 0 takes any that is free")
      .Within(0, 65535)
      .ShowDefault();
  command
      .Add("--listen", page.address,
           "IPv4 address of this machine to serve the page on; beyond the loopback interface the "
           "page wants a token, which is in the address that is printed")
      .Address()
      .ShowDefault();
  command.AddFlag("--open", page.open,
                  "open the page in the browser of this machine, unless it wants a token");
}

}  // namespace

Verb AddView(Program& program) {
  const auto options = std::make_shared<ViewOptions>();
  CommandLine command =
      program.AddVerb("view", "Shows a live sensor, a capture or several sensors in the browser.");
  AddSourceOptions(command, *options, "show");
  AddLiveSourceOptions(command, options->live);
  AddPageOptions(command, options->page);
  AddFoxgloveOptions(command, options->foxglove);
  command.Footer(ModelTable() +
                 "\nIt serves one page until Ctrl-C, a limit or SIGTERM. Over SSH: ssh -L "
                 "8787:127.0.0.1:8787 robot, and open http://127.0.0.1:8787 here. A slow browser "
                 "gets fewer frames, and costs the sensor none.\n\n"
                 "Example:\n"
                 "  orliq view room.pcap --model juniq --check-folder room-check\n"
                 "  orliq view --port 2368 --model juniq --check-folder room-check\n"
                 "  orliq view --config sensors.yaml --open\n"
                 "  orliq view --config sensors.yaml --foxglove 8765");
  return {command, [command, options](Console& console) {
            RequireFoxglove(command);
            RequireSource(command, *options);
            return RunView(*options, console);
          }};
}

}  // namespace orliq::cli
