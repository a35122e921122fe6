// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/doctor/Diagnosis.h"

#include "orliq/verbs/doctor/DoctorReport.h"
#include "support/DoctorFacts.h"
#include "support/SimulatedCapture.h"

namespace orliq::test {
namespace {

TEST(Diagnosis, PacketsTellTheModelAndTheSenders) {
  const auto none_decoded = [](Facts& f) { f.seen.counts.packets.decoded = 0; };
  const auto sent_by_a_glavor = [](const char* model) {
    return [model](Facts& f) {
      f.Take(model);
      f.seen.flows = {FlowOf(model)};
      for (const auto& packet : SimulatedCapture(1, {}, "glavor").packets) {
        f.seen.flows[0].hints.Add(packet.data(), packet.size());
      }
    };
  };
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
      {"another one of that length", sent_by_a_glavor("fennix"), {"wrong_model", "note no_points"}},
      {"that one", sent_by_a_glavor("glavor"), {"calibration_missing"}},
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
      {"interrupted before the driver received",
       [](Facts& f) {
         f.seen.counts = {};
         f.seen.seconds = 0.999;
       },
       {}},
      {"a second without",
       [](Facts& f) {
         f.packets.last_packet_age_s = 1.0;
         f.seen.seconds = 2.0;
       },
       {"stalled"}},
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
      f.packets.upload.requests = bytes + 1;
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
      {"never asked",
       juniq([](Facts& f) {
         f.seen.calibration.folder.reset();
         f.seen.calibration.request.sensor.port = 2400;
       }),
       {"note upload_unfinished"}},
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
}  // namespace orliq::test
