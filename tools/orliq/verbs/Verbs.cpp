// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/Verbs.h"

#include <CLI/CLI.hpp>

#include "orliq/terminal/HelpText.h"
#include "orliq/terminal/VersionText.h"

namespace orliq::cli {

std::vector<Verb> DescribeProgram(CLI::App& app) {
  app.name("orliq");
  app.description(
      "Simulates LiDAR sensors, receives and shows what they send, examines, plays and sends "
      "captures.");
  app.get_formatter()->column_width(kHelpTextColumn);
  app.set_version_flag("--version", VersionText);
  app.require_subcommand(1);
  app.footer(
      "orliq VERB --help shows the options of a verb and an example.\n\n"
      "Exit codes:\n"
      "  0   done\n"
      "  2   the command line makes no sense\n"
      "  3   no data of the sensor arrived\n"
      "  4   a file, folder, port or address cannot be used\n"
      "  5   done with losses or interrupted, or calibration looks wrong\n"
      "  70  internal fault");
  return {AddSimulate(app), AddInfo(app), AddPlay(app),        AddFuse(app),
          AddLive(app),     AddView(app), AddBridge(app),      AddDoctor(app),
          AddRecord(app),   AddSend(app), AddCheckParams(app), AddFetchParams(app)};
}

}  // namespace orliq::cli
