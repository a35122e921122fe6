// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <memory>
#include <system_error>
#include <vector>

#include "orliq/CheckFolder.h"
#include "orliq/CloudWriter.h"
#include "orliq/OptionChecks.h"
#include "orliq/ProgressBar.h"
#include "orliq/Report.h"
#include "orliq/Verb.h"
#include "simulator/PcapWriter.h"
#include "simulator/Scene.h"
#include "simulator/Sensor.h"

namespace orliq::cli {
namespace {

struct Options {
  std::string model;
  std::string scene = "boxes";
  std::uint64_t frames = 20;
  std::string out;
  std::string check_folder;
  std::uint16_t port = 2368;
  sim::SensorOptions sensor;
  bool no_radius_filter = false;
  bool json = false;
  bool quiet = false;
};

void AddOptions(CLI::App& command, Options& options) {
  command.add_option("--model", options.model, "sensor model")
      ->required()
      ->check(CLI::IsMember(sim::SensorNames()));
  command.add_option("--scene", options.scene, "surroundings of the sensor")
      ->check(CLI::IsMember(sim::SceneNames()))
      ->capture_default_str();
  command.add_option("--frames", options.frames, "frames to simulate")
      ->check(Within(1, 1000000))
      ->capture_default_str();
  command.add_option("--out", options.out, "capture file to write")->required();
  command.add_option("--check-folder", options.check_folder, "folder for the sensor's calibration")
      ->required();
  command.add_option("--rate", options.sensor.frame_rate_hz, "frames per second [Hz]")
      ->check(Within(0.1, 1000.0))
      ->capture_default_str();
  command.add_option("--seed", options.sensor.seed, "chooses the individual sensor and all chance")
      ->capture_default_str();
  command.add_option("--port", options.port, "destination port of the packets")
      ->check(Within(1, 65535))
      ->capture_default_str();
  command.add_flag("--json", options.json, "report as JSON");
  command.add_flag("--quiet", options.quiet, "no progress bar, no remarks");

  auto& faults = options.sensor.faults;
  const std::string group = "Faults";
  command.add_option("--noise", faults.range_noise_m, "standard deviation of ranges [m]")
      ->check(Within(0.0, 10.0))
      ->group(group);
  command.add_option("--false-returns", faults.false_return_rate, "share of beams, 0 to 1")
      ->check(Within(0.0, 1.0))
      ->group(group);
  command.add_option("--drop", faults.dropped_packet_rate, "share of packets lost, 0 to 1")
      ->check(Within(0.0, 1.0))
      ->group(group);
  command
      .add_flag("--no-radius-filter", options.no_radius_filter,
                "calibration leaves isolated returns in")
      ->group(group);
}

struct Written {
  std::uint64_t packets = 0;
  std::uint64_t expected = 0;
};

void Require(bool done, const std::string& file, const std::string& error) {
  if (!done) throw Failure(ExitCode::kFileFault, "cannot write " + file + ": " + error);
}

Written WriteCapture(const Options& options, sim::Sensor& sensor, const sim::Scene& scene) {
  sim::UdpFlow flow;
  flow.destination_port = options.port;
  std::string error;
  MakeFolder(std::filesystem::path(options.out).parent_path());
  const auto capture = sim::PcapWriter::Create(options.out, flow, error);
  Require(capture != nullptr, options.out, error);
  ProgressBar bar("simulating", options.frames, options.quiet);
  Written written;
  for (std::uint64_t frame = 0; frame < options.frames; ++frame) {
    for (const sim::Packet& packet : sensor.EncodeFrame(scene, frame)) {
      Require(capture->Write(packet.payload, packet.time_s), options.out,
              std::generic_category().message(errno));
      ++written.packets;
    }
    written.expected += sensor.PacketsPerFrame();
    bar.Update(frame + 1);
  }
  Require(capture->Close(error), options.out, error);
  return written;
}

void Tell(const Options& options, const Written& written, Console& console) {
  std::error_code ignored;
  const auto bytes = std::filesystem::file_size(options.out, ignored);
  const double duration = static_cast<double>(options.frames) / options.sensor.frame_rate_hz;
  const std::uint64_t dropped = written.expected - written.packets;
  Report report;
  report.Add("model", "Sensor", options.model,
             options.model + ", seed " + std::to_string(options.sensor.seed));
  report.Add("scene", "Scene", options.scene, options.scene);
  report.Add("frames", "Frames", options.frames,
             Grouped(options.frames) + " at " + Fixed(options.sensor.frame_rate_hz, 1) + " Hz, " +
                 Fixed(duration, 1) + " s");
  report.Add("duration_s", "", duration, "");
  report.Add("packets_written", "Packets", written.packets,
             Grouped(written.packets) + " written, " + Grouped(dropped) + " dropped");
  report.Add("packets_dropped", "", dropped, "");
  report.Add("port", "UDP port", options.port, std::to_string(options.port));
  report.Add("capture", "Capture", options.out, options.out + ", " + Megabytes(bytes));
  report.Add("capture_bytes", "", bytes, "");
  report.Add("check_folder", "Check folder", options.check_folder, options.check_folder);
  report.Print(console.Out(), options.json);
}

ExitCode Run(Options options, Console& console) {
  const std::string word = TableWordIn(options.check_folder);
  if (!word.empty()) {
    throw Failure(ExitCode::kUsage, "the path of --check-folder must not hold the word \"" + word +
                                        "\", by which a calibration table is recognised");
  }
  options.sensor.radius_filter = !options.no_radius_filter;
  const auto scene = sim::MakeScene(options.scene);
  const auto sensor = sim::MakeSensor(options.model, options.sensor);
  if (!scene || !sensor) throw Failure(ExitCode::kUsage, "these options fit no sensor or scene");
  std::string error;
  MakeFolder(options.check_folder);
  Require(sensor->WriteCheckFolder(options.check_folder, error), options.check_folder, error);
  Tell(options, WriteCapture(options, *sensor, *scene), console);
  return ExitCode::kDone;
}

}  // namespace

Verb AddSimulate(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  CLI::App* const command =
      app.add_subcommand("simulate", "Writes the capture and calibration of a synthetic sensor.");
  AddOptions(*command, *options);
  command->footer(
      "Example:\n  orliq simulate --model juniq --scene boxes --frames 20 --out room.pcap "
      "--check-folder room-check");
  return {command, [options](Console& console) { return Run(*options, console); }};
}

}  // namespace orliq::cli
