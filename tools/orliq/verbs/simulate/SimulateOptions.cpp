// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/simulate/SimulateOptions.h"

#include <memory>

#include "orliq/terminal/Verb.h"
#include "simulator/scene/Scene.h"

namespace orliq::cli {
namespace {

constexpr double kLatestStart = 2.1e9;  // [s] the times of a capture end in the year 2038
/// For the help.
std::string OnlyFor(bool sim::SensorTraits::*trait) {
  return " (only " + ModelsWith(trait) + ')';
}

constexpr char kFaultGroup[] =
    "Faults (shares are 0 to 1; a packet suffers the first that hits it)";

void AddShare(CommandLine& command, const char* name, double& share, const std::string& text) {
  command.Add(name, share, text).Within(0.0, 1.0).Group(kFaultGroup);
}

void AddSensorFaults(CommandLine& command, SimulateOptions& options) {
  const std::string beams = OnlyFor(&sim::SensorTraits::beams);
  auto& faults = options.sensor.faults;
  command.Add("--noise", faults.range_noise_m, "standard deviation of ranges [m]" + beams)
      .Within(0.0, 10.0)
      .Group(kFaultGroup);
  AddShare(command, "--false-returns", faults.false_return_rate, "share of beams" + beams);
  const std::string filter = OnlyFor(&sim::SensorTraits::radius_filter);
  command
      .AddFlag("--no-radius-filter", options.no_radius_filter,
               "calibration leaves isolated returns in" + filter)
      .Group(kFaultGroup);
}

void AddPacketFaults(CommandLine& command, sim::PacketFaultRates& rates) {
  const auto share = [&](const char* name, sim::PacketFault fault, const char* text) {
    AddShare(command, name, rates[fault], text);
  };
  share("--drop", sim::PacketFault::kLost, "share of packets lost");
  share("--wrong-length", sim::PacketFault::kWrongLength, "share of packets cut or lengthened");
  share("--wrong-identifier", sim::PacketFault::kWrongIdentifier,
        "share of packets with a damaged identifier");
  share("--duplicate", sim::PacketFault::kDuplicated, "share of packets that come twice");
  share("--swap", sim::PacketFault::kSwapped, "share of packets that the next one overtakes");
  share("--foreign", sim::PacketFault::kForeign,
        "packets of another device to the same port, as a share of the sensor's");
}

/// What is simulated.
void AddSensor(CommandLine& command, SimulateOptions& options) {
  command.Add("--model", options.model, "sensor model; needed without --config")
      .LowerCase()
      .OneOf(sim::SensorNames());
  command
      .AddText("--config", options.config,
               "YAML file of several sensors, in place of --model: each stands at its extrinsics "
               "and sends to its address and port on this machine, or writes its capture; seeds "
               "count up from --seed")
      .NotEmpty();
  command.Add("--scene", options.scene, "surroundings of the sensor")
      .OneOf(sim::SceneNames())
      .ShowDefault();
  command
      .Add("--cycle", options.cycle,
           "packets for each azimuth, 2 if not given" + OnlyFor(&sim::SensorTraits::cycle))
      .OneOf({2, 4});
  command.Add("--seed", options.sensor.seed, "chooses the individual sensor and all chance")
      .WholeNumber()
      .ShowDefault();
}

void AddTimes(CommandLine& command, SimulateOptions& options) {
  command
      .Add("--frames", options.frames,
           "frames to simulate; without it 20 for --out alone, with --to until Ctrl-C")
      .Within(1, 1000000);
  command.Add("--rate", options.sensor.frame_rate_hz, "frames per second [Hz]")
      .Within(0.1, 1000.0)
      .ShowDefault();
  command
      .Add("--start-time", options.start_time_s,
           "[s] since 1970 UTC, of the first frame; without it now for --to alone, always the same "
           "with --out")
      .Within(0.0, kLatestStart);
}

/// What becomes of it.
void AddFiles(CommandLine& command, SimulateOptions& options) {
  const Option out = command.AddText("--out", options.out, "capture file to write");
  command.AddText(
      "--check-folder", options.check_folder,
      std::string("folder to write the sensor's calibration to, which play and live read; ") +
          "--out needs one, or --serve-params" + OnlyFor(&sim::SensorTraits::check_folder));
  command.AddFlag("--force", options.force,
                  "let captures and check folders replace what no simulation wrote");
  command.Add("--port", options.port, "destination port in the capture")
      .Within(1, 65535)
      .ShowDefault()
      .Needs(out);
  command.AddFlag("--json", "report as JSON");
  command.AddFlag("--quiet", options.quiet, "no progress bar, no remarks");
}

void AddOptions(CommandLine& command, SimulateOptions& options) {
  AddSensor(command, options);
  AddTimes(command, options);
  AddFiles(command, options);
  AddTransmissionOptions(command, options.transmission);
  AddSensorFaults(command, options);
  AddPacketFaults(command, options.faults);
  AddServeOptions(command, options.serve, OnlyFor(&sim::SensorTraits::check_folder));
  command.LetConfigReplace(
      {"--model", "--out", "--to", "--port", "--check-folder", "--serve-params"});
}

}  // namespace

Verb AddSimulate(Program& program) {
  const auto options = std::make_shared<SimulateOptions>();
  CommandLine command = program.AddVerb(
      "simulate",
      "Writes the capture and calibration of a synthetic sensor, or sends its packets and hands "
      "out its calibration; or does so for all sensors of a file, which stand in one scene.");
  AddOptions(command, *options);
  command.Footer(
      "Ctrl-C ends it with its table; before the last of --frames that is exit code 5.\n\n"
      "Examples:\n"
      "  orliq simulate --model juniq --scene boxes --frames 20 \\\n"
      "      --out room.pcap --check-folder room-check\n"
      "  orliq simulate --model kelvane --cycle 4 --out hall.pcap\n"
      "  orliq simulate --model juniq --check-folder room-check --to 127.0.0.1:2368\n"
      "  orliq simulate --model juniq --to 127.0.0.1:2368 --serve-params 2400 \\\n"
      "      --drop-replies 0.1\n"
      "  orliq simulate --config sensors.yaml --scene boxes");
  return {command, [options](Console& console) { return RunSimulate(*options, console); }};
}

}  // namespace orliq::cli
