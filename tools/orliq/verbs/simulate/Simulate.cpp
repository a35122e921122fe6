// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <optional>
#include <system_error>
#include <vector>

#include "orliq/capture/Recording.h"
#include "orliq/clouds/CloudWriter.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/ProgressBar.h"
#include "orliq/terminal/Report.h"
#include "orliq/terminal/Verb.h"
#include "orliq/verbs/CommonRows.h"
#include "orliq/verbs/simulate/ServedCalibration.h"
#include "orliq/verbs/simulate/SimulateOptions.h"
#include "orliq/verbs/simulate/SimulatedFolder.h"
#include "simulator/scene/Scene.h"
#include "simulator/sending/EncodeAhead.h"
#include "simulator/sending/PcapWriter.h"

namespace orliq::cli {
namespace {

using sim::PacketFault;

constexpr std::chrono::seconds kStatusPause{1};

[[noreturn]] void ThrowFileFault(const std::string& sentence) {
  throw Failure(ExitCode::kFileFault, sentence);
}

void AddSensor(Report& report, const SimulateOptions& options) {
  report.Add("model", "Sensor", options.model,
             options.model + ", seed " + std::to_string(options.sensor.seed));
}

void AddFolder(Report& report, const std::string& folder) {
  report.Add("check_folder", "Check folder", folder, folder);
}

/// A sensor's packets on their way to a capture file, a receiver or both.
class Simulation {
 public:
  /// `served` may be null.
  Simulation(const SimulateOptions& options, sim::Sensor& sensor, const Console& console,
             const ServedCalibration* served)
      : options_(options),
        sensor_(sensor),
        console_(console),
        served_(served),
        faults_(options.faults, options.sensor.seed, sensor.PacketsPerFrame()) {
    if (!options_.transmission.to.empty()) transmission_.emplace(options_.transmission, console);
    if (options_.out) OpenCapture(*options_.out);
  }

  /// Until the last frame, or until the user ends it, which leaves a complete capture too.
  void Run(const sim::Scene& scene) {
    if (!options_.frames)
      console_.Note("sending to " + transmission_->Target().text + ", Ctrl-C ends");
    sim::EncodeAhead frames(sensor_, scene, options_.frames);
    ProgressBar bar("simulating", options_.frames.value_or(0), options_.quiet || !options_.frames);
    StatusLine line(options_.quiet || options_.frames, kStatusPause);
    for (auto packets = frames.Next(); !packets.empty() && !interrupted_; packets = frames.Next()) {
      TakeFrame(packets);
      bar.Update(Frames());
      if (line.Due()) line.Show(StatusText());
    }
    Finish();
  }

  /// Throws Failure when a signal came before the frames that were asked for.
  void RequireAllFrames() const {
    if (!interrupted_ || !options_.frames) return;
    throw Failure(ExitCode::kLosses, "interrupted after " + Grouped(Frames()) + " of " +
                                         Count(*options_.frames, "frame"));
  }

  Report MakeReport() const;

  void RequireAllSent() const {
    if (transmission_) transmission_->RequireAllSent();
  }

 private:
  std::uint64_t Frames() const { return packets_ / sensor_.PacketsPerFrame(); }

  std::string StatusText() const {
    return "sending to " + transmission_->Target().text + "  " + Count(Frames(), "frame") + "  " +
           Count(transmission_->Packets(), "packet") + "  " + Fixed(Duration(), 1) + " s" +
           (served_ != nullptr ? "  " + served_->StatusText() : "");
  }

  double Duration() const {  // [s] in the sensor's time
    return static_cast<double>(packets_) /
           (options_.sensor.frame_rate_hz * static_cast<double>(sensor_.PacketsPerFrame()));
  }

  void OpenCapture(const std::string& path) {
    if (!options_.force) RequireNoOtherFile(path);
    sim::UdpFlow flow;
    flow.destination_port = options_.port;
    std::string error;
    MakeFolder(std::filesystem::path(path).parent_path());
    capture_ = sim::PcapWriter::Create(path, flow, error);
    if (!capture_) ThrowFileFault("cannot write " + path + ": " + error);
  }

  void TakeFrame(std::vector<sim::Packet>& packets) {
    for (sim::Packet& packet : packets) {
      interrupted_ = InterruptRequested();
      if (interrupted_) return;
      Take(std::move(packet));
    }
  }

  void Take(sim::Packet packet) {
    ++packets_;
    arriving_.clear();
    faults_.Pass(std::move(packet), arriving_);
    Deliver();
  }

  void Deliver() {
    for (const sim::Packet& packet : arriving_) {
      if (capture_) {
        if (!capture_->Write(packet.payload, packet.time_s)) {
          const std::string reason = std::generic_category().message(errno);
          ThrowFileFault("cannot write " + *options_.out + ": " + reason);
        }
        ++written_;
      }
      if (transmission_) {
        transmission_->Send(packet.payload.data(), packet.payload.size(), packet.time_s);
      }
    }
  }

  void Finish() {
    arriving_.clear();
    faults_.Finish(arriving_);
    Deliver();
    if (transmission_) transmission_->Finish();
    if (capture_) {
      std::string error;
      if (!capture_->Close(error)) ThrowFileFault(error);
    }
  }

  void AddCapture(Report& report) const;
  void AddFaults(Report& report) const;

  const SimulateOptions& options_;
  sim::Sensor& sensor_;
  const Console& console_;
  const ServedCalibration* served_;
  sim::PacketFaults faults_;
  std::unique_ptr<sim::PcapWriter> capture_;
  std::optional<Transmission> transmission_;
  std::vector<sim::Packet> arriving_;
  std::uint64_t packets_ = 0;  // from the sensor
  std::uint64_t written_ = 0;  // to the capture
  bool interrupted_ = false;   // before the last frame
};

Report Simulation::MakeReport() const {
  const double rate = options_.sensor.frame_rate_hz;
  Report report;
  AddSensor(report, options_);
  if (sensor_.HasCycle()) {
    const std::size_t cycle = options_.sensor.cycle_packets;
    report.Add("cycle", "Cycle", cycle, std::to_string(cycle) + " packets for each azimuth");
  }
  report.Add("scene", "Scene", options_.scene,
             options_.scene + (sensor_.HasBeams() ? "" : ", of which these packets say nothing"));
  report.Add("frames", "Frames", Frames(),
             Grouped(Frames()) + " at " + Fixed(rate, 1) + " Hz, " + Fixed(Duration(), 1) + " s");
  report.Add("duration_s", "", Duration(), "");
  report.Add("start_time_s", "", options_.sensor.start_time_s, "");
  report.Add("interrupted", "", interrupted_ || (served_ != nullptr && InterruptRequested()), "");
  report.Add("sensor_packets", "", packets_, "");
  report.Add("packets_dropped", "", faults_.Counts()[PacketFault::kLost], "");
  if (capture_) AddCapture(report);
  if (transmission_) transmission_->Add(report);
  if (options_.check_folder) AddFolder(report, *options_.check_folder);
  AddFaults(report);
  return report;
}

void Simulation::AddCapture(Report& report) const {
  std::error_code ignored;
  const auto bytes = std::filesystem::file_size(*options_.out, ignored);
  report.Add("packets_written", "Packets", written_,
             Grouped(written_) + " written, " + Grouped(faults_.Counts()[PacketFault::kLost]) +
                 " dropped");
  report.Add("port", "UDP port", options_.port, std::to_string(options_.port));
  report.Add("capture", "Capture", *options_.out, *options_.out + ", " + Megabytes(bytes));
  report.Add("capture_bytes", "", bytes, "");
}

void Simulation::AddFaults(Report& report) const {
  const auto& counts = faults_.Counts();
  AddFaultRows(
      report, "faults", "Packets with faults",
      {{"lost", "lost", counts[PacketFault::kLost]},
       {"wrong_length", "of wrong length", counts[PacketFault::kWrongLength]},
       {"wrong_identifier", "with a wrong identifier", counts[PacketFault::kWrongIdentifier]},
       {"duplicated", "sent twice", counts[PacketFault::kDuplicated]},
       {"swapped", "overtaken by the next", counts[PacketFault::kSwapped]},
       {"foreign", "of another device", counts[PacketFault::kForeign]}});
}

ExitCode ServeAlone(const SimulateOptions& options, ServedCalibration& served, Console& console) {
  served.WaitForInterrupt(console);
  Report report;
  AddSensor(report, options);
  report.Add("interrupted", "", true, "");
  if (options.check_folder) AddFolder(report, *options.check_folder);
  served.Finish(report);
  console.Print(report);
  return ExitCode::kDone;
}

ExitCode Run(SimulateOptions options, Console& console) {
  CompleteSimulateOptions(options);
  const auto scene = sim::MakeScene(options.scene);
  const auto sensor = sim::MakeSensor(options.model, options.sensor);
  if (!scene || !sensor) throw Failure(ExitCode::kUsage, "these options fit no sensor or scene");
  FitToSensor(options, *sensor, console);
  CatchInterrupts();
  std::optional<SimulatedFolder> tables;
  if (options.check_folder) {
    tables.emplace(*sensor, *options.check_folder, options.out.value_or(""), options.force);
  }
  std::optional<ServedCalibration> served;
  if (options.serve.at) served.emplace(options.serve, *sensor, options.sensor.seed, console);
  // A receiver needs the tables from the first packet on. An older capture keeps its own until the
  // new one stands in its place.
  const bool sends = !options.transmission.to.empty();
  const bool only_capture = options.out && !sends;
  if (tables && !only_capture) tables->Write();
  if (!options.out && !sends) return ServeAlone(options, *served, console);
  Simulation simulation(options, *sensor, console, served ? &*served : nullptr);
  simulation.Run(*scene);
  if (tables && only_capture) tables->Write();
  if (served && only_capture) served->WaitForInterrupt(console);
  Report report = simulation.MakeReport();
  if (served) served->Finish(report);
  console.Print(report);
  simulation.RequireAllSent();
  simulation.RequireAllFrames();
  return ExitCode::kDone;
}

}  // namespace

Verb AddSimulate(CLI::App& app) {
  const auto options = std::make_shared<SimulateOptions>();
  CLI::App* const command = app.add_subcommand("simulate",
                                               "Writes the capture and calibration of a synthetic "
                                               "sensor, or sends its packets and hands out "
                                               "its calibration.");
  AddSimulateOptions(*command, *options);
  command->footer(
      "Ctrl-C ends it with its table; before the last of --frames that is exit code 5.\n\n"
      "Examples:\n"
      "  orliq simulate --model juniq --scene boxes --frames 20 \\\n"
      "      --out room.pcap --check-folder room-check\n"
      "  orliq simulate --model kelvane --cycle 4 --out hall.pcap\n"
      "  orliq simulate --model juniq --check-folder room-check --to 127.0.0.1:2368\n"
      "  orliq simulate --model juniq --to 127.0.0.1:2368 --serve-params 2400 \\\n"
      "      --drop-replies 0.1");
  return {command, [options](Console& console) {
            console.SetQuiet(options->quiet);
            return Run(*options, console);
          }};
}

}  // namespace orliq::cli
