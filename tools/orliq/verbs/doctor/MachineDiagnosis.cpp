// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/NumberText.h"
#include "orliq/verbs/doctor/Diagnosis.h"

namespace orliq::cli {
namespace {

HealthFinding NotLookedAt(const MachineState& machine, bool silent) {
  HealthFinding finding = {Severity::kNote,
                           "not_looked_at",
                           "not looked at: packets for other ports or addresses, in pieces, or "
                           "dropped by a firewall",
                           machine.seen.why_not,
                           "",
                           {}};
  if (!machine.seen.lacks_right) return finding;
  finding.advice = std::string(silent ? "They may tell why nothing arrived. " : "") +
                   "Allow it once and for all, or for this once:";
  finding.commands = {"sudo setcap cap_net_raw+ep " + machine.program,
                      "sudo " + machine.program + " doctor ..."};
  return finding;
}

void AddErrors(const MachineState& machine, HealthFindings& findings) {
  for (const Interface& interface : machine.interfaces) {
    if (interface.errors == 0) continue;
    findings.push_back(
        {Severity::kNote,
         "interface_errors",
         interface.name + " received damaged packets, or more than it can take",
         Count(interface.errors, "packet") + " beside " + Grouped(interface.packets) + " good ones",
         "Check cable and plugs; its counters:",
         {"ip -s -s link show " + interface.name}});
  }
}

/// Of any sender: the system does not count by sender.
void AddPieces(const StackCounters& stack, HealthFindings& findings) {
  if (stack.pieces == 0) return;
  const bool lost = stack.not_reassembled > 0;
  findings.push_back({Severity::kNote,
                      lost ? "pieces_lost" : "pieces",
                      std::string("packets came in pieces to this machine") +
                          (lost ? ", and some never whole" : ""),
                      Count(stack.pieces, "piece") + " (of any sender), " +
                          Grouped(stack.not_reassembled) + " packets given up",
                      "Programs that send long datagrams, as of DDS, have them split. If they are "
                      "the sensor's, one lost piece loses a packet: its packets need no splitting "
                      "with an MTU of 1,500 bytes, so find the link on the way that has less.",
                      {}});
}

void AddStack(const StackCounters& stack, HealthFindings& findings) {
  AddPieces(stack, findings);
  if (stack.bad_checksum > 0) {
    findings.push_back({Severity::kNote,
                        "bad_checksums",
                        "UDP packets came damaged to this machine: their checksum is wrong",
                        Count(stack.bad_checksum, "packet") + " (of any sender)",
                        "If they are the sensor's: check cable and switch.",
                        {}});
  }
}

}  // namespace

HealthFindings DiagnoseMachine(const MachineState& machine, bool silent) {
  HealthFindings findings;
  AddErrors(machine, findings);
  AddStack(machine.stack, findings);
  if (!machine.seen.Looked()) {
    findings.push_back(NotLookedAt(machine, silent));
  } else {
    findings.push_back({Severity::kOk, "packet_look",
                        "the packets of " + Count(machine.seen.interfaces_looked_at, "interface") +
                            " were looked at too: " + Count(machine.seen.flows.size(), "UDP flow") +
                            (machine.seen.missed > 0
                                 ? "; " + Grouped(machine.seen.missed) + " came too fast for that"
                                 : "")});
  }
  return findings;
}

}  // namespace orliq::cli
