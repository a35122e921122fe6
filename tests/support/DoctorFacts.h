// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "orliq/verbs/doctor/Diagnosis.h"

namespace orliq::test {

using namespace cli;

using Kinds = std::vector<std::string>;

constexpr std::uint32_t kSensor = 0xC0A801C8;    // 192.168.1.200
constexpr std::uint32_t kOwn = 0xC0A80166;       // 192.168.1.102
constexpr std::uint32_t kStranger = 0xC0A8014D;  // 192.168.1.77

inline const Model& Named(const char* name) {
  return *lidar::FindSensorModel(std::string(name));
}

inline Flow FlowOf(const char* model, std::uint32_t to = kOwn, std::uint16_t port = 2368) {
  Flow flow;
  flow.source = kSensor;
  flow.destination = to;
  flow.source_port = 2368;
  flow.port = port;
  flow.packets = flow.fits[ModelIndex(Named(model))] = 1000;
  flow.sizes[Named(model).packet_bytes] = 1000;
  flow.first_bytes = {1, 2, 3};
  return flow;
}

/// A healthy Kelvane that was listened to for two seconds, on a machine with one interface.
struct Facts {
  Observation seen;
  MachineState machine;
  lidar::DriverStatistics& packets = seen.counts.packets;

  Facts() {
    seen.model = seen.driven = &Named("kelvane");
    seen.port = 2368;
    seen.flows = {FlowOf("kelvane")};
    seen.flow_seconds = 1.0;
    seen.seconds = 1.999;
    packets.received = packets.decoded = 1000;
    packets.socket_buffer_bytes = 1000 * 2304 / 4;  // for 0.25 s of these packets
    packets.last_packet_age_s = 0.999;              // they came during one second
    packets.first_sender = {kSensor, 2368};
    seen.counts.frames.count = packets.frames = 10;
    seen.counts.frames.non_zero = 1;
    machine.interfaces = {{"lo", 1, true, true, true, 65536, {{0x7F000001, 0xFF000000}}, 0, 0},
                          {"eth0", 2, true, true, false, 1500, {{kOwn, 0xFFFFFF00}}, 0, 0}};
    machine.ports = {2368};
  }

  void Silence() {
    seen.flows.clear();
    seen.counts = {};
  }
  /// Of which nothing reached the port, but this reached the interface.
  void See(const Flow& flow) {
    Silence();
    machine.seen.flows.push_back(flow);
    machine.seen.interfaces.emplace_back("eth0");
  }
  void Take(const char* model) { seen.model = seen.driven = &Named(model); }

  HealthFindings Find() const {
    static const Console console;
    return DiagnoseSensor({seen, machine, console});
  }
};

/// The kinds of findings that are not good, the problems first.
inline Kinds Faults(const HealthFindings& findings) {
  Kinds kinds;
  for (const HealthFinding& finding : findings) {
    const char* const mark = finding.severity == Severity::kNote ? "note " : "";
    if (finding.severity != Severity::kOk) kinds.push_back(mark + finding.kind);
  }
  return kinds;
}

struct Row {
  const char* why;
  std::function<void(Facts&)> change;
  Kinds faults;
};

inline void ExpectFaults(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    Facts facts;
    row.change(facts);
    EXPECT_EQ(Faults(facts.Find()), row.faults) << row.why;
  }
}

}  // namespace orliq::test
