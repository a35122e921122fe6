// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/doctor/Diagnosis.h"

#include <gmock/gmock.h>

#include <functional>

#include "orliq/verbs/doctor/DoctorReport.h"

namespace orliq::cli {
namespace {

using Kinds = std::vector<std::string>;

constexpr std::uint32_t kSensor = 0xC0A801C8;    // 192.168.1.200
constexpr std::uint32_t kOwn = 0xC0A80166;       // 192.168.1.102
constexpr std::uint32_t kStranger = 0xC0A8014D;  // 192.168.1.77

const Model& Named(const char* name) {
  return *lidar::FindSensorModel(std::string(name));
}

Flow FlowOf(const char* model, std::uint32_t to = kOwn, std::uint16_t port = 2368) {
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
    seen.flow_seconds = seen.seconds = 1.0;
    packets.received = packets.decoded = 1000;
    packets.socket_buffer_bytes = 1000 * 2304 / 4;  // for 0.25 s of these packets
    packets.last_packet_age_s = 0.999;
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
Kinds Faults(const HealthFindings& findings) {
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

void ExpectFaults(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    Facts facts;
    row.change(facts);
    EXPECT_EQ(Faults(facts.Find()), row.faults) << row.why;
  }
}

const PortHolder kHolder = {"", 1000, 4711, "driver"};

TEST(Diagnosis, SilenceIsExplainedByWhatReachedTheMachine) {
  Flow vlan = FlowOf("kelvane");
  vlan.hindrance = Skip::kVlan;
  Flow pieces = FlowOf("kelvane");
  pieces.hindrance = Skip::kFragment;
  ExpectFaults({
      {"nothing at all", [](Facts& f) { f.Silence(); }, {"nothing_arrives"}},
      {"another port", [](Facts& f) { f.See(FlowOf("kelvane", kOwn, 2369)); }, {"other_port"}},
      {"another model's packets on another port are not this sensor's",
       [](Facts& f) { f.See(FlowOf("juniq", kOwn, 2369)); },
       {"nothing_arrives"}},
      {"nor those of another sensor that is examined",
       [](Facts& f) {
         f.See(FlowOf("kelvane", kOwn, 2369));
         f.machine.ports.push_back(2369);
       },
       {"nothing_arrives"}},
      {"nor those of another sender than --source",
       [](Facts& f) {
         f.See(FlowOf("kelvane", kOwn, 2369));
         f.seen.source = "192.168.1.201";
         f.seen.way = Way{"192.168.1.201", kOwn};
       },
       {"nothing_arrives"}},
      {"an address that is not here",
       [](Facts& f) { f.See(FlowOf("kelvane", kStranger)); },
       {"other_address"}},
      {"neither port nor address",
       [](Facts& f) { f.See(FlowOf("kelvane", kStranger, 2369)); },
       {"other_port", "other_address"}},
      {"what is aimed at the port counts before what is not",
       [](Facts& f) {
         f.See(FlowOf("kelvane", kOwn, 2369));
         f.See(FlowOf("kelvane", kStranger));
       },
       {"other_address"}},
      {"broadcast passes --address by",
       [](Facts& f) {
         f.See(FlowOf("kelvane", 0xC0A801FF));
         f.seen.address = "192.168.1.102";
       },
       {"other_address"}},
      {"the right place", [](Facts& f) { f.See(FlowOf("kelvane")); }, {"filtered"}},
      {"so does broadcast go to every address",
       [](Facts& f) { f.See(FlowOf("kelvane", 0xFFFFFFFF)); },
       {"filtered"}},
      {"the route back decides",
       [](Facts& f) {
         f.See(FlowOf("kelvane"));
         f.machine.stack.reverse_path = 1;
       },
       {"reverse_path"}},
      {"VLAN", [&](Facts& f) { f.See(vlan); }, {"vlan"}},
      {"pieces", [&](Facts& f) { f.See(pieces); }, {"fragments"}},
  });
}

TEST(Diagnosis, SilenceIsExplainedByTheInterface) {
  const auto with = [](auto change) {
    return [change](Facts& f) {
      f.Silence();
      change(f);
    };
  };
  ExpectFaults({
      {"no carrier",
       with([](Facts& f) { f.machine.interfaces[1].carrier = false; }),
       {"interface_down"}},
      {"no address",
       with([](Facts& f) { f.machine.interfaces[1].addresses.clear(); }),
       {"interface_down"}},
      {"one of two will do",
       with([](Facts& f) {
         f.machine.interfaces.push_back({"eth1", 3, false, false, false, 1500, {}, 0, 0});
       }),
       {"nothing_arrives"}},
      {"but not when the sensor is behind the other",
       with([](Facts& f) {
         f.machine.interfaces.push_back(
             {"eth1", 3, false, false, false, 1500, {{0x0A000001, 0xFF000000}}, 0, 0});
         f.seen.way = Way{"10.0.0.2", 0x0A000001};
       }),
       {"interface_down"}},
      {"no route",
       with([](Facts& f) {
         f.seen.way = Way{"10.0.0.2", {}};
       }),
       {"no_route"}},
      {"a packet of 1206 bytes and 28 of headers",
       with([](Facts& f) {
         f.seen.address = "192.168.1.102";
         f.machine.interfaces[1].mtu = Named("kelvane").packet_bytes + 27U;
       }),
       {"nothing_arrives", "note small_mtu"}},
      {"which fits",
       with([](Facts& f) {
         f.seen.address = "192.168.1.102";
         f.machine.interfaces[1].mtu = Named("kelvane").packet_bytes + 28U;
       }),
       {"nothing_arrives"}},
  });
}

TEST(Diagnosis, AnotherProgramIsInTheWayOfItsOwnAddressOnly) {
  ExpectFaults({
      {"both receive", [](Facts& f) { f.seen.holders = {kHolder}; }, {"note port_shared"}},
      {"nothing came, and what came in went to the other",
       [](Facts& f) {
         f.See(FlowOf("kelvane"));
         f.seen.holders = {kHolder};
       },
       {"port_taken"}},
      {"nothing came in for either",
       [](Facts& f) {
         f.Silence();
         f.seen.holders = {kHolder};
       },
       {"nothing_arrives", "note port_shared"}},
      {"nobody could look",
       [](Facts& f) {
         f.Silence();
         f.machine.seen.why_not = "no right";
         f.seen.holders = {kHolder};
       },
       {"port_taken"}},
      {"held alone",
       [](Facts& f) {
         f.Silence();
         f.seen.no_port = "in use";
         f.seen.holders = {kHolder};
       },
       {"port_held"}},
      {"on another address",
       [](Facts& f) {
         f.seen.address = "192.168.1.102";
         f.seen.holders = {{"127.0.0.1", 0, 1, "x"}};
       },
       {}},
      {"an address that is not here",
       [](Facts& f) {
         f.Silence();
         f.seen.no_port = "no address of this machine";
         f.seen.address = "192.168.1.77";
         f.seen.holders = {kHolder};
       },
       {"port_unusable"}},
  });
}

TEST(Diagnosis, PacketsTellTheModelAndTheSenders) {
  const auto none_decoded = [](Facts& f) { f.seen.counts.packets.decoded = 0; };
  ExpectFaults({
      {"healthy, up to every limit", [](Facts&) {}, {}},
      {"another model",
       [&](Facts& f) {
         none_decoded(f);
         f.seen.flows = {FlowOf("corvik")};
       },
       {"wrong_model"}},
      {"it began late, so only its length is known",
       [&](Facts& f) {
         none_decoded(f);
         f.seen.flows.clear();
         f.packets.last_refused_length = 1104;
       },
       {"wrong_model"}},
      {"no model",
       [&](Facts& f) {
         none_decoded(f);
         f.seen.flows.clear();
         f.packets.last_refused_length = 1103;
       },
       {"unknown_packets"}},
      {"9 of 1000", [](Facts& f) { f.packets.refused_length = 9; }, {"note foreign_packets"}},
      {"10 of 1000", [](Facts& f) { f.packets.refused_identifier = 10; }, {"foreign_packets"}},
      {"two senders", [](Facts& f) { f.packets.of_other_senders = 1; }, {"mixed_senders"}},
      {"of which one is chosen",
       [](Facts& f) {
         f.packets.of_other_senders = 1;
         f.seen.source = "192.168.1.200";
       },
       {}},
      {"--source names another",
       [](Facts& f) {
         f.seen.source = "192.168.1.201";
         f.packets.received = f.packets.decoded = 0;
         f.packets.other_source = 1000;
       },
       {"source_excludes_all"}},
      {"a second without", [](Facts& f) { f.packets.last_packet_age_s = 1.0; }, {"stalled"}},
      {"no model named, and none known",
       [](Facts& f) {
         f.seen.model = f.seen.driven = nullptr;
         f.seen.counts = {};
         f.seen.flows[0].fits = {};
       },
       {"unknown_packets"}},
      {"no model named, and two fit",
       [](Facts& f) {
         f.seen.model = f.seen.driven = nullptr;
         f.seen.counts = {};
         f.seen.flows = {FlowOf("glavor")};
         f.seen.flows[0].fits[ModelIndex(Named("fennix"))] = 1000;
       },
       {"model_unknown"}},
  });
}

TEST(Diagnosis, LossIsToldByWhereItHappens) {
  ExpectFaults({
      {"kernel", [](Facts& f) { f.packets.dropped_by_kernel = 1; }, {"kernel_drops"}},
      {"room for less than 0.25 s",
       [](Facts& f) { f.packets.socket_buffer_bytes -= 2304; },
       {"note small_buffer"}},
      {"a gap", [](Facts& f) { f.packets.skipped_packets = 1; }, {"sequence_gaps"}},
      {"the first frame is always short", [](Facts& f) { f.packets.short_frames = 1; }, {}},
      {"two", [](Facts& f) { f.packets.short_frames = 2; }, {"short_frames"}},
      {"no frame",
       [](Facts& f) {
         f.seen.counts.frames = {};
         f.packets.frames = 0;
       },
       {"no_frames"}},
      {"nothing measured",
       [](Facts& f) { f.seen.counts.frames.non_zero = 0; },
       {"nothing_measured"}},
  });
}

TEST(Diagnosis, CalibrationAndClockOfTheSensor) {
  const auto juniq = [](auto change) {
    return [change](Facts& f) {
      f.Take("juniq");
      f.seen.flows = {FlowOf("juniq")};
      f.seen.calibration.folder = "check";
      f.seen.calibration.report = {true, true, true, {}};
      f.packets.clock = {1000, 0.0, 0.0, 0.0, 0.0, 0.0, 0};
      change(f);
    };
  };
  const auto offset = [juniq](double seconds) {
    return juniq(
        [seconds](Facts& f) { f.packets.clock.smallest_s = f.packets.clock.largest_s = seconds; });
  };
  const auto upload = [juniq](lidar::UploadState state, std::uint64_t bytes) {
    return juniq([=](Facts& f) {
      f.seen.calibration.folder.reset();
      f.seen.calibration.request.sensor.port = 2400;
      f.packets.upload.state = state;
      f.packets.upload.received_bytes = bytes;
    });
  };
  using State = lidar::UploadState;
  ExpectFaults({
      {"good", juniq([](Facts&) {}), {}},
      {"none", juniq([](Facts& f) { f.seen.calibration.folder.reset(); }), {"calibration_missing"}},
      {"two files for a table",
       juniq([](Facts& f) { f.seen.calibration.report.complete = false; }),
       {"calibration_unusable"}},
      {"odd numbers",
       juniq([](Facts& f) { f.seen.calibration.suspicious = 1; }),
       {"note calibration_doubtful"}},
      {"silent", upload(State::Asking, 0), {"upload_silent"}},
      {"on its way", upload(State::Receiving, 1), {"note upload_unfinished"}},
      {"there", upload(State::InUse, 100), {}},
      {"a Kelvane has none",
       [](Facts& f) { f.seen.calibration.folder = "check"; },
       {"note calibration_unused"}},
      {"0.99 s apart", offset(0.99), {"note clock_apart"}},
      {"a second", offset(-1.0), {"clock_apart"}},
      {"TAI", offset(-37.0), {"clock_tai"}},
      {"never set", offset(1.7e9), {"clock_years"}},
  });
}

TEST(Diagnosis, TheMachineTellsWhatWasNotLookedAtAndTheCommandForIt) {
  MachineState machine;
  EXPECT_EQ(Faults(DiagnoseMachine(machine, true)), Kinds{});
  machine.seen.why_not = "no interface is up";
  machine.program = "/opt/orliq";
  EXPECT_TRUE(DiagnoseMachine(machine, true).back().commands.empty()) << "a right would not help";
  machine.seen.lacks_right = true;
  machine.stack.pieces = 2;
  machine.interfaces = {{"eth0", 2, true, true, false, 1500, {}, 5, 1}};
  const HealthFindings findings = DiagnoseMachine(machine, true);
  EXPECT_EQ(Faults(findings),
            (Kinds{"note interface_errors", "note pieces", "note not_looked_at"}));
  EXPECT_EQ(findings.back().commands.front(), "sudo setcap cap_net_raw+ep /opt/orliq");
}

TEST(Diagnosis, TheExitCodeIsThatOfTheWorstSensor) {
  Examination examination;
  const Facts good;
  const auto code = [&](const Observation& second, bool interrupted = false) {
    examination.sensors = {good.seen, second};
    return DiagnosedExamination{
        examination, {"a", "b"}, {{}, {{Severity::kNote, "x", "y"}}}, {}, interrupted}
        .Code();
  };
  Facts silent;
  silent.Silence();
  Facts held;
  held.seen.no_port = "held";
  EXPECT_EQ(code(good.seen), ExitCode::kDone) << "notes are no problem";
  EXPECT_EQ(code(good.seen, true), ExitCode::kLosses);
  EXPECT_EQ(code(silent.seen), ExitCode::kNoData);
  EXPECT_EQ(code(held.seen), ExitCode::kFileFault);
}

}  // namespace
}  // namespace orliq::cli
