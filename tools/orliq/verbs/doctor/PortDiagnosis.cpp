// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <iterator>

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
std::vector<std::string> HolderCommands(const Case& subject,
                                        const std::vector<PortHolder>& holders) {
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

HealthFinding Shared(const Case& subject, const std::vector<PortHolder>& rivals) {
  const std::string port = "UDP port " + std::to_string(subject.sensor.port);
  if (subject.Arrived() == 0 && MayHaveTaken(subject)) {
    const bool sure = subject.machine.seen.Looked();
    return {Severity::kProblem,
            "port_taken",
            "another program has " + port + " too and " + (sure ? "gets" : "may get") +
                " all of the packets",
            HoldersText(rivals) + Seen(subject),
            "End it, or ask again when it has ended: of two sockets on a port one gets a sender's "
            "whole "
            "flow.",
            HolderCommands(subject, rivals)};
  }
  return {Severity::kNote,
          "port_shared",
          "another program has " + port + " too",
          HoldersText(rivals),
          "Of two sockets on a port one gets a sender's whole flow, now or after a restart the "
          "other one. While this program listened, the other may have got nothing.",
          HolderCommands(subject, rivals)};
}

/// The port of a privileged number, or of an address that is not there, cannot be had in any case.
bool IsOnlyHeld(const Case& subject) {
  constexpr std::uint16_t kFirstFree = 1024;
  const auto address = ParseAddress(subject.sensor.address);
  const auto& interfaces = subject.machine.interfaces;
  return subject.sensor.port >= kFirstFree &&
         (!address ||
          std::any_of(interfaces.begin(), interfaces.end(),
                      [&](const Interface& interface) { return interface.Has(*address); }));
}

HealthFinding NotBound(const Case& subject, const std::vector<PortHolder>& rivals) {
  if (rivals.empty() || !IsOnlyHeld(subject)) {
    return {Severity::kProblem, "port_unusable", subject.sensor.no_port};
  }
  return {Severity::kProblem,
          "port_held",
          "another program holds UDP port " + std::to_string(subject.sensor.port) +
              " and shares it with nobody",
          HoldersText(rivals),
          "End it, or let the sensor send to another port.",
          HolderCommands(subject, rivals)};
}

}  // namespace

std::vector<PortHolder> Rivals(const Observation& sensor) {
  std::vector<PortHolder> rivals;
  std::copy_if(sensor.holders.begin(), sensor.holders.end(), std::back_inserter(rivals),
               [&](const PortHolder& holder) {
                 return holder.address.empty() || sensor.address.empty() ||
                        holder.address == sensor.address;
               });
  return rivals;
}

void DiagnosePort(const Case& subject, HealthFindings& findings) {
  const Observation& sensor = subject.sensor;
  const std::vector<PortHolder> rivals = Rivals(sensor);
  if (!sensor.no_port.empty()) {
    findings.push_back(NotBound(subject, rivals));
  } else if (!rivals.empty()) {
    findings.push_back(Shared(subject, rivals));
  } else {
    findings.push_back({Severity::kOk, "port",
                        EndpointText(sensor.address, sensor.port) +
                            " can be listened on, and no other program has that port"});
  }
}

}  // namespace orliq::cli
