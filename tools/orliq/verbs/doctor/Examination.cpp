// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/doctor/Examination.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <system_error>

#include "orliq/network/SocketTable.h"
#include "orliq/network/UdpReceiver.h"
#include "orliq/sensors/FolderRules.h"
#include "orliq/sensors/TableFindings.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/verbs/doctor/Diagnosis.h"
#include "orliq/verbs/live/SensorSetUp.h"
#include "param/ParamService.h"

namespace orliq::cli {
namespace {

constexpr double kLook = 1.0;  // [s] of the plain socket, at most a fifth of all
constexpr std::chrono::milliseconds kPatience{50};
constexpr std::size_t kMaxFlows = 100;  // of a port
constexpr std::size_t kMaxSizes = 100;  // of a flow

class Stopwatch {
 public:
  double Seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

std::uint32_t Address(const std::array<std::uint8_t, 4>& octets) {
  std::uint32_t address = 0;
  for (const std::uint8_t octet : octets) address = address << 8U | octet;
  return address;
}

UdpRecord RecordOf(const UdpReceiver::Datagram& datagram) {
  const auto& ends = datagram.endpoints;
  return {{},
          Datagram{Address(ends.source), Address(ends.destination), ends.source_port,
                   ends.destination_port, datagram.payload, datagram.bytes, datagram.bytes}};
}

/// The model of the flow with most packets that tells one.
const Model* TellModel(const std::vector<Flow>& flows) {
  const Model* model = nullptr;
  std::uint64_t packets = 0;
  for (const Flow& flow : flows) {
    const Model* const likely = LikelyModel(flow);
    if (likely == nullptr || flow.packets <= packets) continue;
    model = likely;
    packets = flow.packets;
  }
  return model;
}

CalibrationFacts FolderFacts(const Model& model, const std::string& folder) {
  CalibrationFacts facts;
  facts.folder = folder;
  if (!model.needs_tables) return facts;
  lidar::ParamService service;
  facts.report = ExamineCheckFolder(model, folder, service);
  const auto tables = TablesOf(service, model.type);
  facts.hints = FolderHints(model, tables, service.LastLoad());
  facts.suspicious = FindSuspicious(tables, service.LastLoad()).size();
  return facts;
}

/// One sensor, on a thread of its own.
class Listener {
 public:
  Listener(const ConfiguredSensor& sensor, double seconds, bool lenient)
      : sensor_(sensor), seconds_(seconds), lenient_(lenient) {
    seen_.model = sensor.model;
    seen_.address = sensor.address;
    seen_.port = *sensor.port;
    seen_.source = sensor.source;
  }

  Observation Listen() {
    seen_.holders = PortHolders(seen_.port);
    NoteWay();
    try {
      receiver_ =
          std::make_unique<UdpReceiver>(seen_.address, seen_.port, UdpReceiver::Sharing::kShared);
      Look();
      seen_.driven = sensor_.model != nullptr ? sensor_.model : TellModel(seen_.flows);
    } catch (const Failure& failure) {
      seen_.no_port = failure.what();
    }
    NoteCalibration();
    if (seen_.driven != nullptr) Drive();
    if (seen_.holders.empty()) seen_.holders = PortHolders(seen_.port);  // that came meanwhile
    return std::move(seen_);
  }

 private:
  void NoteWay() {
    const std::string host = !sensor_.source.empty() ? sensor_.source
                             : sensor_.params_from   ? sensor_.params_from->address
                                                     : std::string();
    if (!host.empty()) seen_.way = Way{host, AddressTowards(host)};
  }

  bool Over(double seconds) const { return InterruptRequested() || time_.Seconds() >= seconds; }

  /// For a short time, which begins with the first packet when only the packets can tell the model.
  void Look() {
    const double look = std::min(kLook, seconds_ / 5);
    FlowList flows(kMaxFlows, kMaxSizes);
    double end = sensor_.model == nullptr ? seconds_ : look;
    while (!Over(std::min(end, seconds_))) {
      const auto datagram = receiver_->Receive(kPatience);
      if (!datagram) continue;
      if (sensor_.model == nullptr && flows.Flows().empty()) end = time_.Seconds() + look;
      flows.Add(RecordOf(*datagram));
    }
    seen_.flows = std::move(flows.Flows());
    seen_.flow_seconds = time_.Seconds();
  }

  void NoteCalibration() {
    CalibrationFacts& facts = seen_.calibration;
    const Model* const model = sensor_.model != nullptr ? sensor_.model : seen_.driven;
    if (model != nullptr && sensor_.check_folder)
      facts = FolderFacts(*model, *sensor_.check_folder);
    facts.request = RequestOf(sensor_, lenient_);
  }

  lidar::DriverParam Param() const {
    ConfiguredSensor sensor = sensor_;
    sensor.model = seen_.driven;
    if (!sensor.model->needs_tables) sensor.params_from.reset();
    return MakeDriverParam(sensor);
  }

  /// As an application receives, which `live` is one of. The plain socket goes when the driver's is
  /// there: without any, the system would tell the sensor that the port is closed.
  void Drive() {
    FrameChoice choice;
    choice.source = sensor_.source;
    choice.lenient = lenient_;
    const auto source = MakeLiveSource("point", choice, nullptr, nullptr);
    const bool open = source->Open(Param());
    receiver_.reset();
    if (!open) {
      seen_.no_port = "the driver cannot listen on that port";
      seen_.driven = nullptr;
      return;
    }
    const Stopwatch time;
    const double left = std::max(0.0, seconds_ - time_.Seconds());
    WaitForInterrupt(std::chrono::microseconds(static_cast<std::int64_t>(1e6 * left)));
    source->Stop();
    seen_.seconds = time.Seconds();
    seen_.counts = source->Counts();
    if (seen_.calibration.request.Asks()) seen_.calibration.refused = source->Calibration().refused;
  }

  const ConfiguredSensor& sensor_;
  const double seconds_;
  const bool lenient_;
  Stopwatch time_;
  Observation seen_;
  std::unique_ptr<UdpReceiver> receiver_;
};

std::string ThisProgram() {
  std::error_code error;
  const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? "orliq" : path.string();
}

/// Of the ports that packets of any sensor went to, those that a program has.
std::vector<std::uint16_t> HeldPorts(const std::vector<Flow>& flows) {
  std::vector<std::uint16_t> held;
  for (const Flow& flow : flows) {
    const bool fits = std::any_of(flow.fits.begin(), flow.fits.end(), [](auto n) { return n > 0; });
    if (fits && ForeignSockets(flow.port) > 0) held.push_back(flow.port);
  }
  return held;
}

std::vector<Observation> ListenToAll(const std::vector<ConfiguredSensor>& sensors, double seconds,
                                     bool lenient) {
  std::vector<std::future<Observation>> listeners;
  listeners.reserve(sensors.size());
  for (const ConfiguredSensor& sensor : sensors) {
    listeners.push_back(std::async(std::launch::async, [&sensor, seconds, lenient] {
      return Listener(sensor, seconds, lenient).Listen();
    }));
  }
  std::vector<Observation> seen;
  seen.reserve(sensors.size());
  for (auto& listener : listeners) seen.push_back(listener.get());
  return seen;
}

}  // namespace

Examination Examine(const std::vector<ConfiguredSensor>& sensors, double seconds, bool lenient) {
  const Stopwatch time;
  const auto look = BeginPacketLook();
  const auto interfaces = ReadInterfaces();
  const StackCounters stack = ReadStackCounters();
  Examination examination;
  examination.sensors = ListenToAll(sensors, seconds, lenient);
  MachineState& machine = examination.machine;
  machine.interfaces = Since(interfaces, ReadInterfaces());
  machine.stack = ReadStackCounters().Since(stack);
  machine.seen = look->Finish();
  machine.held = HeldPorts(machine.seen.flows);
  machine.largest_buffer = LargestReceiveBuffer();
  machine.program = ThisProgram();
  for (const ConfiguredSensor& sensor : sensors) machine.ports.push_back(*sensor.port);
  examination.seconds = time.Seconds();
  return examination;
}

}  // namespace orliq::cli
