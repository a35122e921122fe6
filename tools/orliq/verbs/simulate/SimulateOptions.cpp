// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/simulate/SimulateOptions.h"

#include <memory>
#include <utility>
#include <vector>

#include "orliq/terminal/OptionChecks.h"
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

void AddShare(CLI::App& command, const char* name, double& share, const std::string& text) {
  command.add_option(name, share, text)->check(Within(0.0, 1.0))->group(kFaultGroup);
}

void AddSensorFaults(CLI::App& command, SimulateOptions& options) {
  const std::string beams = OnlyFor(&sim::SensorTraits::beams);
  auto& faults = options.sensor.faults;
  command.add_option("--noise", faults.range_noise_m, "standard deviation of ranges [m]" + beams)
      ->check(Within(0.0, 10.0))
      ->group(kFaultGroup);
  AddShare(command, "--false-returns", faults.false_return_rate, "share of beams" + beams);
  const std::string filter = OnlyFor(&sim::SensorTraits::radius_filter);
  command
      .add_flag("--no-radius-filter", options.no_radius_filter,
                "calibration leaves isolated returns in" + filter)
      ->group(kFaultGroup);
}

void AddPacketFaults(CLI::App& command, sim::PacketFaultRates& rates) {
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

/// Keeps an empty name apart from none.
CLI::Option* AddName(CLI::App& command, const char* option, std::optional<std::string>& name,
                     const std::string& text) {
  return command.add_option_function<std::string>(
      option, [&name](const std::string& given) { name = given; }, text);
}

/// What is simulated.
void AddSensor(CLI::App& command, SimulateOptions& options) {
  command.add_option("--model", options.model, "sensor model; needed without --config")
      ->transform(LowerCase())
      ->check(CLI::IsMember(sim::SensorNames()));
  AddName(command, "--config", options.config,
          "YAML file of several sensors, in place of --model: each stands at its extrinsics and "
          "sends to its address and port on this machine, or writes its capture; seeds count up "
          "from --seed")
      ->check(NotEmpty());
  command.add_option("--scene", options.scene, "surroundings of the sensor")
      ->check(CLI::IsMember(sim::SceneNames()))
      ->capture_default_str();
  command
      .add_option("--cycle", options.cycle,
                  "packets for each azimuth, 2 if not given" + OnlyFor(&sim::SensorTraits::cycle))
      ->check(CLI::IsMember({2, 4}));
  command.add_option("--seed", options.sensor.seed, "chooses the individual sensor and all chance")
      ->check(WholeNumber())
      ->capture_default_str();
}

void AddTimes(CLI::App& command, SimulateOptions& options) {
  command
      .add_option("--frames", options.frames,
                  "frames to simulate; without it 20 for --out alone, with --to until Ctrl-C")
      ->check(Within(1, 1000000));
  command.add_option("--rate", options.sensor.frame_rate_hz, "frames per second [Hz]")
      ->check(Within(0.1, 1000.0))
      ->capture_default_str();
  command
      .add_option("--start-time", options.start_time_s,
                  "[s] since 1970 UTC, of the first frame; without it now for --to alone, always "
                  "the same with --out")
      ->check(Within(0.0, kLatestStart));
}

/// What becomes of it.
void AddFiles(CLI::App& command, SimulateOptions& options) {
  CLI::Option* const out = AddName(command, "--out", options.out, "capture file to write");
  AddName(command, "--check-folder", options.check_folder,
          std::string("folder to write the sensor's calibration to, which play and live read; ") +
              "--out needs one, or --serve-params" + OnlyFor(&sim::SensorTraits::check_folder));
  command.add_flag("--force", options.force,
                   "let captures and check folders replace what no simulation wrote");
  command.add_option("--port", options.port, "destination port in the capture")
      ->check(Within(1, 65535))
      ->capture_default_str()
      ->needs(out);
  command.add_flag("--json", "report as JSON");
  command.add_flag("--quiet", options.quiet, "no progress bar, no remarks");
}

using Options = std::vector<CLI::Option*>;

/// An option and another that it makes sense with.
using Needs = std::vector<std::pair<CLI::Option*, CLI::Option*>>;

/// Takes from all options what they need of `replaced`.
Needs TakeNeeds(CLI::App& command, const Options& replaced) {
  Needs needs;
  for (CLI::Option* const needed : replaced) {
    for (CLI::Option* const option : command.get_options()) {
      if (option->remove_needs(needed)) needs.emplace_back(option, needed);
    }
  }
  return needs;
}

void RequireAlone(const Options& replaced) {
  for (const CLI::Option* const option : replaced) {
    if (option->empty()) continue;
    throw CLI::ExcludesError(OfOneSensor(option->get_name()), CLI::ExitCodes::ExcludesError);
  }
}

void RequireNeeds(const Needs& needs) {
  for (const auto& [option, needed] : needs) {
    if (option->empty() || !needed->empty()) continue;
    throw CLI::RequiresError(option->get_name(), needed->get_name() + " or --config");
  }
}

/// --config stands for the options that name a sensor and where its packets go: it excludes these, and
/// what needs one of them is content with it.
void SettleConfig(CLI::App& command) {
  const CLI::Option* const config = command.get_option("--config");
  Options replaced;
  for (const char* const name :
       {"--model", "--out", "--to", "--port", "--check-folder", "--serve-params"}) {
    replaced.push_back(command.get_option(name));
  }
  const Needs needs = TakeNeeds(command, replaced);
  command.callback([config, replaced, needs] {
    if (!config->empty()) return RequireAlone(replaced);
    if (replaced.front()->empty()) throw CLI::RequiredError("--model or --config");
    RequireNeeds(needs);
  });
}

void AddOptions(CLI::App& command, SimulateOptions& options) {
  AddSensor(command, options);
  AddTimes(command, options);
  AddFiles(command, options);
  AddTransmissionOptions(command, options.transmission);
  AddSensorFaults(command, options);
  AddPacketFaults(command, options.faults);
  AddServeOptions(command, options.serve, OnlyFor(&sim::SensorTraits::check_folder));
  SettleConfig(command);
}

}  // namespace

Verb AddSimulate(CLI::App& app) {
  const auto options = std::make_shared<SimulateOptions>();
  CLI::App* const command = app.add_subcommand("simulate",
                                               "Writes the capture and calibration of a synthetic "
                                               "sensor, or sends its packets and hands out "
                                               "its calibration; or does so for all sensors "
                                               "of a file, which stand in one scene.");
  AddOptions(*command, *options);
  command->footer(
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
