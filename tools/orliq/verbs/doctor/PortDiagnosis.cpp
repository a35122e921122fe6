// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "orliq/network/HostNetwork.h"
#include "orliq/verbs/doctor/Diagnosis.h"

namespace orliq::cli {
namespace {

std::string HoldersText(const std::vector<PortHolder>& holders) {
  std::string text;
  for (const PortHolder& holder : holders) text += (text.empty() ? "" : "; ") + holder.Text();
  return text;
}

/// One that this user may not see is named to the administrator.
std::vector<std::string> HolderCommands(const Case& subject) {
  const auto& holders = subject.sensor.holders;
  const bool hidden = std::any_of(holders.begin(), holders.end(),
                                  [](const PortHolder& holder) { return holder.process == 0; });
  if (!hidden) return {};
  return {"sudo " + SocketOwnerCommand(subject.sensor.port)};
}

/// Whether packets for this port may have gone to the other program: the look at the interfaces
/// tells, and without it nothing does.
bool MayHaveTaken(const Case& subject) {
  const auto& flows = subject.machine.seen.flows;
  return !subject.machine.seen.Looked() ||
         std::any_of(flows.begin(), flows.end(),
                     [&](const Flow& flow) { return flow.port == subject.sensor.port; });
}

std::string Seen(const Case& subject) {
  if (!subject.machine.seen.Looked()) return {};
  std::uint64_t packets = 0;
  for (const Flow& flow : subject.machine.seen.flows) {
    if (flow.port == subject.sensor.port) packets += flow.packets;
  }
  return ". Meanwhile " + Count(packets, "packet") + " came in for this port, and none was given " +
         "to the driver";
}

HealthFinding Shared(const Case& subject) {
  const std::string port = "UDP port " + std::to_string(subject.sensor.port);
  const std::string holders = HoldersText(subject.sensor.holders);
  if (subject.Arrived() == 0 && MayHaveTaken(subject)) {
    const bool sure = subject.machine.seen.Looked();
    return {Severity::kProblem,
            "port_taken",
            "another program has " + port + " too and " + (sure ? "gets" : "may get") +
                " all of the packets",
            holders + Seen(subject),
            "End it: of two sockets on a port one gets a sender's whole flow.",
            HolderCommands(subject)};
  }
  return {Severity::kNote,
          "port_shared",
          "another program has " + port + " too",
          holders,
          "Of two sockets on a port one gets a sender's whole flow, now or after a restart the "
          "other one. While this program listened, the other may have got nothing.",
          HolderCommands(subject)};
}

}  // namespace

void DiagnosePort(const Case& subject, HealthFindings& findings) {
  const Observation& sensor = subject.sensor;
  if (!sensor.no_port.empty()) {
    const bool held = !sensor.holders.empty();
    findings.push_back({Severity::kProblem, held ? "port_taken" : "port_unusable", sensor.no_port,
                        HoldersText(sensor.holders),
                        held ? "End it, or let the sensor send to another port." : "",
                        HolderCommands(subject)});
  } else if (!sensor.holders.empty()) {
    findings.push_back(Shared(subject));
  } else {
    findings.push_back({Severity::kOk, "port",
                        EndpointText(sensor.address, sensor.port) +
                            " can be listened on, and no other program has that port"});
  }
}

}  // namespace orliq::cli
