// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/simulate/Simulation.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <numeric>
#include <system_error>
#include <utility>

#include "orliq/capture/Recording.h"
#include "orliq/clouds/CloudWriter.h"
#include "orliq/verbs/CommonRows.h"

namespace orliq::cli {
namespace {

using sim::PacketFault;

[[noreturn]] void ThrowFileFault(const std::string& sentence) {
  throw Failure(ExitCode::kFileFault, sentence);
}

}  // namespace

Simulation::Simulation(SimulateOptions options, std::unique_ptr<sim::Sensor> sensor,
                       const Console& console, Stop stop)
    : options_(std::move(options)),
      sensor_(std::move(sensor)),
      packets_per_frame_(sensor_->PacketsPerFrame()),
      console_(console),
      stop_(std::move(stop)),
      faults_(options_.faults, options_.sensor.seed, packets_per_frame_) {
  if (options_.check_folder) {
    tables_.emplace(*sensor_, *options_.check_folder, options_.out.value_or(""), options_.force);
  }
  if (!options_.transmission.to.empty()) {
    transmission_.emplace(options_.transmission, console, stop_);
  }
  if (options_.out) OpenCapture(*options_.out);
  if (options_.serve.at) served_.emplace(options_.serve, *sensor_, options_.sensor.seed, console);
}

void Simulation::OpenCapture(const std::string& path) {
  if (!options_.force) RequireNoOtherFile(path);
  sim::UdpFlow flow;
  flow.destination_port = options_.port;
  const std::string& source = options_.transmission.source;
  if (!source.empty()) flow.source_ip = source;
  std::string error;
  MakeFolder(std::filesystem::path(path).parent_path());
  capture_ = sim::PcapWriter::Create(path, flow, error);
  if (!capture_) ThrowFileFault("cannot write " + path + ": " + error);
}

void Simulation::Begin(const sim::SceneView& view) {
  const bool only_capture = capture_ && !Sends();
  if (tables_ && !only_capture) tables_->Write();
  if (HasPackets()) frames_.emplace(*sensor_, view, options_.frames);
}

void Simulation::AwaitFirstFrame() {
  if (first_.empty()) first_ = frames_->Next();
}

void Simulation::StartAt(sim::PaceClock::Time moment) {
  if (transmission_) transmission_->Start(options_.sensor.start_time_s, moment);
}

void Simulation::Run(const std::function<void()>& after_frame) {
  AwaitFirstFrame();
  for (auto packets = std::move(first_); !packets.empty() && !stopped_; packets = frames_->Next()) {
    TakeFrame(packets);
    after_frame();
  }
  Finish();
  if (tables_ && !Sends()) tables_->Write();
}

void Simulation::TakeFrame(std::vector<sim::Packet>& packets) {
  for (sim::Packet& packet : packets) {
    stopped_ = stop_();
    if (stopped_) return;
    packets_.Add();
    arriving_.clear();
    faults_.Pass(std::move(packet), arriving_);
    Deliver();
  }
}

void Simulation::Deliver() {
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

void Simulation::Finish() {
  arriving_.clear();
  faults_.Finish(arriving_);
  Deliver();
  if (transmission_) transmission_->Finish();
  std::string error;
  if (capture_ && !capture_->Close(error)) ThrowFileFault(error);
}

double Simulation::Duration() const {
  return static_cast<double>(Packets()) /
         (options_.sensor.frame_rate_hz * static_cast<double>(packets_per_frame_));
}

std::string Simulation::StatusText() const {
  return "sending to " + transmission_->Target().text + "  " + Count(Frames(), "frame") + "  " +
         Count(transmission_->Packets(), "packet") + "  " + Fixed(Duration(), 1) + " s" +
         (served_ ? "  " + served_->StatusText() : "");
}

std::uint64_t Simulation::WrittenOrSent() const {
  return transmission_ ? transmission_->Packets() : written_;
}

std::uint64_t Simulation::PacketsWithFaults() const {
  const auto& counts = faults_.Counts().values;
  return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

void Simulation::RemarkOnDelay(const Remarks& remarks) const {
  if (transmission_) transmission_->RemarkOnDelay(remarks);
}

void Simulation::RequireAllSent() const {
  if (transmission_) transmission_->RequireAllSent();
}

void Simulation::RequireAllFrames() const {
  if (!stopped_ || !options_.frames) return;
  throw Failure(ExitCode::kLosses, "interrupted after " + Grouped(Frames()) + " of " +
                                       Count(*options_.frames, "frame"));
}

Report Simulation::MakeReport() {
  Report report;
  report.Add("model", "Sensor", options_.model,
             options_.model + ", seed " + std::to_string(options_.sensor.seed));
  if (HasPackets()) AddPackets(report);
  interrupted_ = stopped_ || (served_ && InterruptRequested());
  report.Add("interrupted", "", interrupted_, "");
  if (options_.check_folder) {
    report.Add("check_folder", "Check folder", *options_.check_folder, *options_.check_folder);
  }
  if (HasPackets()) AddFaults(report);
  if (served_) served_->Finish(report);
  return report;
}

void Simulation::AddPackets(Report& report) const {
  if (sensor_->HasCycle()) {
    const std::size_t cycle = options_.sensor.cycle_packets;
    report.Add("cycle", "Cycle", cycle, std::to_string(cycle) + " packets for each azimuth");
  }
  report.Add("scene", "Scene", options_.scene,
             options_.scene + (sensor_->HasBeams() ? "" : ", of which these packets say nothing"));
  report.Add("frames", "Frames", Frames(),
             Grouped(Frames()) + " at " + Fixed(options_.sensor.frame_rate_hz, 1) + " Hz, " +
                 Fixed(Duration(), 1) + " s");
  report.Add("duration_s", "", Duration(), "");
  report.Add("start_time_s", "", options_.sensor.start_time_s, "");
  report.Add("sensor_packets", "", Packets(), "");
  report.Add("packets_dropped", "", faults_.Counts()[PacketFault::kLost], "");
  if (capture_) AddCapture(report);
  if (transmission_) transmission_->Add(report);
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

}  // namespace orliq::cli
