// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/doctor/SeenFlows.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "orliq/capture/SurveyText.h"
#include "orliq/network/HostNetwork.h"

namespace orliq::cli {
namespace {

constexpr std::uint32_t kEveryone = 0xFFFFFFFF;  // 255.255.255.255

bool IsGroup(std::uint32_t address) {
  return address >> 28U == 0xE;  // 224.0.0.0/4
}

/// A flow, and how it lies to the sensor that is looked for.
class Sighting {
 public:
  Sighting(const Case& subject, std::size_t place)
      : subject_(subject),
        flow_(subject.machine.seen.flows[place]),
        interface_(subject.machine.seen.interfaces[place]) {}

  const Flow& Of() const { return flow_; }

  /// Whether it may be of this sensor at all.
  bool Concerns() const {
    const auto& sensor = subject_.sensor;
    if (!sensor.source.empty() && DottedAddress(flow_.source) != sensor.source) return false;
    if (flow_.port == sensor.port) return true;
    return !IsOfAnother() && FitsWanted();
  }

  bool ToPort() const { return flow_.port == subject_.sensor.port; }

  bool ToEveryone() const {
    const auto& interfaces = subject_.machine.interfaces;
    return flow_.destination == kEveryone ||
           std::any_of(interfaces.begin(), interfaces.end(), [&](const Interface& interface) {
             return std::any_of(interface.addresses.begin(), interface.addresses.end(),
                                [&](const InterfaceAddress& own) {
                                  return flow_.destination == own.Broadcast() &&
                                         flow_.destination != own.address;
                                });
           });
  }

  bool ToThisMachine() const {
    const auto& interfaces = subject_.machine.interfaces;
    return std::any_of(interfaces.begin(), interfaces.end(), [&](const Interface& interface) {
      return interface.Has(flow_.destination);
    });
  }

  /// Whether the address that is listened on takes it.
  bool ToAddress() const {
    const std::string& address = subject_.sensor.address;
    if (!address.empty()) return DottedAddress(flow_.destination) == address;
    return ToThisMachine() || ToEveryone();
  }

  std::string Evidence() const {
    return FlowText(flow_) + " came in at " + interface_ + "; they fit: " + FitText(flow_);
  }

  const std::string& At() const { return interface_; }

  bool IsReadable() const { return !flow_.hindrance; }

 private:
  /// A flow that some program wants is of another sensor, unless it comes from this one's address.
  bool IsOfAnother() const {
    const auto goes_to = [this](const std::vector<std::uint16_t>& ports) {
      return std::find(ports.begin(), ports.end(), flow_.port) != ports.end();
    };
    return goes_to(subject_.machine.ports) ||
           (goes_to(subject_.machine.held) && subject_.sensor.source.empty());
  }

  bool FitsWanted() const {
    const Model* const model = subject_.sensor.model;
    if (model != nullptr) return flow_.fits[ModelIndex(*model)] > 0;
    return std::any_of(flow_.fits.begin(), flow_.fits.end(), [](auto count) { return count > 0; });
  }

  const Case& subject_;
  const Flow& flow_;
  const std::string& interface_;
};

/// The sensor's own packets for another port come before anything else.
HealthFinding OtherPort(const Case& subject, const Sighting& sighting) {
  const std::string came = std::to_string(sighting.Of().port);
  const std::string wanted = std::to_string(subject.sensor.port);
  const Model* const named = subject.sensor.model;
  const Model* const model = named != nullptr ? named : LikelyModel(sighting.Of());
  return {Severity::kProblem,
          "other_port",
          (model != nullptr ? std::string(model->name) + " packets" : "packets of a sensor") +
              " come for UDP port " + came + ", not for " + wanted,
          sighting.Evidence(),
          "Use " + subject.Setting("port", came) + ", or set the sensor to send to port " + wanted +
              '.',
          {}};
}

HealthFinding OtherAddress(const Case& subject, const Sighting& sighting) {
  const std::string came = DottedAddress(sighting.Of().destination);
  HealthFinding finding = {Severity::kProblem, "other_address", "", sighting.Evidence(), "", {}};
  const std::string own = LocalAddressText(subject.machine.interfaces);
  const std::string named = subject.Setting("address", subject.sensor.address);
  if (sighting.ToThisMachine() || sighting.ToEveryone()) {
    finding.text = "packets come for " + came + ", but " + named + " is listened on";
    finding.advice = "Leave " + subject.remarks.Name("address") +
                     " away to listen on every address, or set the sensor to send to " +
                     subject.sensor.address + '.';
  } else if (IsGroup(sighting.Of().destination)) {
    finding.text = "packets come for the group " + came + ", which the driver does not join";
    finding.advice = "Set the sensor to send to an address of this machine: " + own + '.';
  } else {
    finding.text = "packets come for " + came + ", which is no address of this machine";
    finding.advice =
        "Set the sensor to send to an address of this machine, which has " + own +
        "; or, if no other machine has it, give this one that address (choose the length of the "
        "network):";
    finding.commands = {"sudo ip address add " + came + "/24 dev " + sighting.At()};
  }
  return finding;
}

/// Packets for the right place that the driver's socket did not get. `kind` is a word for scripts.
HealthFinding Hindered(const Sighting& sighting, const char* kind, const char* text,
                       const char* advice, std::vector<std::string> commands = {}) {
  return {Severity::kProblem, kind, text, sighting.Evidence(), advice, std::move(commands)};
}

/// By the way in which they come; nothing when that is good.
std::optional<HealthFinding> Unreadable(const Sighting& sighting) {
  if (sighting.Of().hindrance == Skip::kVlan) {
    return Hindered(sighting, "vlan", "packets come with a VLAN tag that no interface takes off",
                    "Set up an interface for that VLAN, N being its number:",
                    {"sudo ip link add link " + sighting.At() + " name " + sighting.At() +
                     ".N type vlan id N"});
  }
  if (sighting.Of().hindrance == Skip::kIpv6) {
    return Hindered(sighting, "ipv6", "packets come by IPv6, which the driver does not receive",
                    "Set the sensor to send to an IPv4 address of this machine.");
  }
  if (sighting.Of().hindrance == Skip::kFragment) {
    return Hindered(sighting, "fragments", "packets come in pieces, and never all pieces of one",
                    "Find what splits them: a link on the way with an MTU below 1,500 bytes.");
  }
  return {};
}

HealthFinding Filtered(const Case& subject, const Sighting& sighting) {
  // Both counts are of the whole machine: as high as this they are of these packets.
  const StackCounters& stack = subject.machine.stack;
  const std::uint64_t most = sighting.Of().packets / 2;
  if (stack.reverse_path > most) {
    return Hindered(
        sighting, "reverse_path",
        "packets come in where this machine has no route back to their sender, so it "
        "drops them",
        "Give that interface an address of the sensor's network, or switch the check off:",
        {"sudo sysctl -w net.ipv4.conf.all.rp_filter=2"});
  }
  if (stack.bad_checksum > most) {
    return Hindered(sighting, "bad_checksum", "packets come damaged: their checksum is wrong",
                    "Check the cable and the switch, and the sensor's firmware.");
  }
  return Hindered(sighting, "filtered",
                  "packets reach this machine but no program: most likely a firewall drops them",
                  "Let UDP to that port in. The rules are shown by one of:",
                  {"sudo nft list ruleset", "sudo iptables -nL INPUT"});
}

/// An arrangement that no socket of the driver gets comes before any question of port and address.
HealthFinding Explain(const Case& subject, const Sighting& sighting) {
  if (auto unreadable = Unreadable(sighting)) return std::move(*unreadable);
  if (!sighting.ToPort()) return OtherPort(subject, sighting);
  return sighting.ToAddress() ? Filtered(subject, sighting) : OtherAddress(subject, sighting);
}

/// What is aimed at the right port tells most. Packets of a VLAN are seen with their tag and, at the
/// interface that takes it off, without. Then what has most packets.
bool IsBetter(const Sighting& a, const Sighting& b) {
  if (a.ToPort() != b.ToPort()) return a.ToPort();
  if (a.IsReadable() != b.IsReadable()) return a.IsReadable();
  return a.Of().packets > b.Of().packets;
}

}  // namespace

void DiagnoseSeen(const Case& subject, HealthFindings& findings) {
  std::optional<Sighting> best;
  for (std::size_t i = 0; i < subject.machine.seen.flows.size(); ++i) {
    const Sighting sighting(subject, i);
    if (sighting.Concerns() && (!best || IsBetter(sighting, *best))) best.emplace(sighting);
  }
  if (!best) return;
  const bool taken = best->ToPort() && best->ToAddress() && !Rivals(subject.sensor).empty();
  if (!taken) findings.push_back(Explain(subject, *best));
  const bool lost_too =
      best->IsReadable() && !best->ToPort() && !best->ToThisMachine() && !best->ToEveryone();
  if (lost_too) findings.push_back(OtherAddress(subject, *best));
}

}  // namespace orliq::cli
