// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/Verbs.h"

namespace orliq::cli {

Program MakeProgram() {
  return Program(
      "orliq",
      "Simulates LiDAR sensors, receives and shows what they send, examines, plays and sends "
      "captures.",
      "orliq VERB --help shows the options of a verb and an example.\n\n"
      "Exit codes:\n"
      "  0   done\n"
      "  2   the command line makes no sense\n"
      "  3   no data of the sensor arrived\n"
      "  4   a file, folder, port or address cannot be used\n"
      "  5   done with losses or interrupted, or calibration looks wrong\n"
      "  70  internal fault");
}

std::vector<Verb> AddVerbs(Program& program) {
  return {AddSimulate(program), AddInfo(program), AddPlay(program),        AddFuse(program),
          AddLive(program),     AddView(program), AddBridge(program),      AddDoctor(program),
          AddRecord(program),   AddSend(program), AddCheckParams(program), AddFetchParams(program)};
}

}  // namespace orliq::cli
