// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "orliq/capture/SurveyText.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/verbs/Silence.h"
#include "orliq/verbs/doctor/Diagnosis.h"
#include "orliq/verbs/doctor/SeenFlows.h"

namespace orliq::cli {
namespace {

/// --source keeps away all that comes.
void AddExcluded(const Case& subject, HealthFindings& findings) {
  const Observation& sensor = subject.sensor;
  const auto& packets = subject.Packets();
  const std::string other = sensor.flows.empty() ? DottedAddress(packets.first_sender.address)
                                                 : DottedAddress(sensor.flows.front().source);
  findings.push_back(
      {Severity::kProblem,
       "source_excludes_all",
       "packets come, but none from " + subject.Setting("source", sensor.source),
       Count(subject.Arrived(), "datagram") + " came, from " + other,
       "Name that address with " + subject.remarks.Setting("source") + ", or leave it away.",
       {}});
}

const Interface* InterfaceWith(const MachineState& machine, std::uint32_t address) {
  const auto found =
      std::find_if(machine.interfaces.begin(), machine.interfaces.end(),
                   [&](const Interface& interface) { return interface.Has(address); });
  return found == machine.interfaces.end() ? nullptr : &*found;
}

/// By which the sensor's packets should come, if that is known.
const Interface* ExpectedInterface(const Case& subject) {
  if (const auto address = ParseAddress(subject.sensor.address)) {
    return InterfaceWith(subject.machine, *address);
  }
  const auto& way = subject.sensor.way;
  return way && way->from ? InterfaceWith(subject.machine, *way->from) : nullptr;
}

std::string StateText(const Interface& interface) {
  if (!interface.up) return interface.name + " is switched off";
  if (!interface.carrier) return interface.name + " has no carrier: nothing is at its other end";
  return interface.name + " is up";
}

void AddDown(const Interface& interface, HealthFindings& findings) {
  HealthFinding finding = {Severity::kProblem,
                           "interface_down",
                           StateText(interface),
                           "",
                           "Check the cable, the plug and that the sensor has power.",
                           {}};
  if (!interface.up) {
    finding.advice = "Switch it on:";
    finding.commands = {"sudo ip link set " + interface.name + " up"};
  }
  findings.push_back(finding);
}

bool IsUsable(const Interface& interface) {
  return interface.up && interface.carrier && !interface.addresses.empty();
}

/// Without a word on where the sensor is, one usable interface is enough.
void AddAllDown(const MachineState& machine, HealthFindings& findings) {
  std::string states;
  for (const Interface& interface : machine.interfaces) {
    if (interface.loopback) continue;
    if (IsUsable(interface)) return;
    const bool bare = interface.up && interface.carrier;
    states += (states.empty() ? "" : "; ") +
              (bare ? interface.name + " has no IPv4 address" : StateText(interface));
  }
  findings.push_back(
      {Severity::kProblem,
       "interface_down",
       "no network interface of this machine can receive: none is up, with a carrier "
       "and an IPv4 address",
       states.empty() ? "there is the loopback only" : states,
       "Bring the one of the sensor up, and give it an address of its network.",
       {"ip -brief link", "ip -brief address"}});
}

/// Some drivers of interfaces take no packets that are longer than what may be sent.
void AddSmallMtu(const Case& subject, const Interface& interface, HealthFindings& findings) {
  constexpr unsigned kHeaders = 28;  // [bytes] IPv4 and UDP
  const Model* const model = subject.sensor.model;
  if (model == nullptr || interface.mtu == 0 || interface.mtu >= model->packet_bytes + kHeaders) {
    return;
  }
  findings.push_back({Severity::kNote,
                      "small_mtu",
                      interface.name + " may refuse packets as long as those of " + model->name,
                      "its MTU is " + std::to_string(interface.mtu) + " bytes, and they have " +
                          std::to_string(model->packet_bytes + kHeaders),
                      "Allow the usual:",
                      {"sudo ip link set " + interface.name + " mtu 1500"}});
}

void AddInterfaces(const Case& subject, HealthFindings& findings) {
  const auto& way = subject.sensor.way;
  if (way && !way->from) {
    findings.push_back({Severity::kProblem,
                        "no_route",
                        "this machine has no route to " + way->sensor,
                        "its addresses: " + LocalAddressText(subject.machine.interfaces),
                        "Give its interface an address of the sensor's network.",
                        {"ip -brief address"}});
    return;
  }
  const Interface* const expected = ExpectedInterface(subject);
  if (expected == nullptr) return AddAllDown(subject.machine, findings);
  if (!expected->up || !expected->carrier) AddDown(*expected, findings);
  AddSmallMtu(subject, *expected, findings);
}

bool Holds(const std::vector<std::uint16_t>& ports, std::uint16_t port) {
  return std::find(ports.begin(), ports.end(), port) != ports.end();
}

/// Sensors that send elsewhere: perhaps it is one of them.
std::string OthersText(const MachineState& machine) {
  constexpr int kShown = 3;
  std::string text;
  int shown = 0;
  for (const Flow& flow : machine.seen.flows) {
    const bool fits = std::any_of(flow.fits.begin(), flow.fits.end(), [](auto n) { return n > 0; });
    if (!fits || Holds(machine.ports, flow.port)) continue;
    if (++shown > kShown) break;
    text += "\n  " + FlowText(flow) + ", which fit " + FitText(flow) +
            (Holds(machine.held, flow.port) ? "; a program has that port" : "");
  }
  return text.empty() ? "" : ". Packets of sensors elsewhere:" + text;
}

/// What the machine received meanwhile, from anyone.
std::string MeanwhileText(const MachineState& machine) {
  std::string text;
  for (const Interface& interface : machine.interfaces) {
    if (!interface.up) continue;
    text += (text.empty() ? "" : ", ") + interface.name + ' ' + Grouped(interface.packets) +
            (interface.carrier ? "" : " (no carrier)");
  }
  text = "packets of any kind that came in meanwhile: " + (text.empty() ? "none" : text);
  if (machine.stack.no_port > 0) {
    text += ". " + Count(machine.stack.no_port, "datagram") +
            " went to UDP ports of this machine that no program has";
  }
  return text + OthersText(machine);
}

void AddNothing(const Case& subject, HealthFindings& findings) {
  const Observation& sensor = subject.sensor;
  const double seconds = sensor.flow_seconds + sensor.seconds;
  const Silence silence = {sensor.address, sensor.port, seconds, sensor.model};
  findings.push_back({Severity::kProblem,
                      "nothing_arrives",
                      "nothing arrived at " + EndpointText(sensor.address, sensor.port) +
                          " within " + Fixed(seconds, 1) + " s",
                      MeanwhileText(subject.machine),
                      "Check that" + WhatToCheck(silence, subject.remarks),
                      {}});
}

bool HasProblem(const HealthFindings& findings) {
  return std::any_of(findings.begin(), findings.end(), [](const HealthFinding& finding) {
    return finding.severity == Severity::kProblem;
  });
}

}  // namespace

void DiagnoseSilence(const Case& subject, HealthFindings& findings) {
  if (!subject.sensor.no_port.empty() || subject.Counted() > 0) return;
  if (subject.Arrived() > 0) return AddExcluded(subject, findings);
  DiagnoseSeen(subject, findings);
  if (!HasProblem(findings)) AddInterfaces(subject, findings);
  if (!HasProblem(findings)) AddNothing(subject, findings);
}

}  // namespace orliq::cli
