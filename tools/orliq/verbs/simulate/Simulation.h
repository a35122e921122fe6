// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/Counter.h"
#include "orliq/network/Transmission.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/simulate/ServedCalibration.h"
#include "orliq/verbs/simulate/SimulateOptions.h"
#include "orliq/verbs/simulate/SimulatedFolder.h"
#include "simulator/scene/SceneView.h"
#include "simulator/sending/EncodeAhead.h"
#include "simulator/sending/PacketFaults.h"
#include "simulator/sending/PcapWriter.h"

namespace orliq::cli {

/// One synthetic sensor: its packets on their way to a capture file, a receiver or both, and its
/// calibration for those who read a folder or ask for it.
///
/// One thread at a time uses it, but for Frames, Packets and Duration, which any thread may ask.
class Simulation {
 public:
  /// What it asks whether to end early.
  using Stop = std::function<bool()>;

  /// Claims files, folder and ports, and begins to hand out the calibration; writes and sends nothing
  /// yet. `options` are complete and fit the sensor. Throws Failure when something cannot be had.
  Simulation(SimulateOptions options, std::unique_ptr<sim::Sensor> sensor, const Console& console,
             Stop stop);

  /// Whether its packets go anywhere; else it only hands out its calibration.
  bool HasPackets() const { return options_.out || Sends(); }
  bool Sends() const { return transmission_.has_value(); }
  const SimulateOptions& Options() const { return options_; }

  /// Null when it hands none out.
  const ServedCalibration* Served() const { return served_ ? &*served_ : nullptr; }

  /// Writes the tables for a receiver, who needs them from the first packet on. An older capture
  /// keeps its own until the new one stands in its place. Begins to encode, on a thread of its own.
  void Begin(const sim::SceneView& view);

  /// Until the first frame is encoded.
  void AwaitFirstFrame();

  /// The first frame starts at that moment, rather than when Run begins.
  void StartAt(sim::PaceClock::Time moment);

  /// Sends and writes until the last frame, or until it has to stop, which leaves a complete capture
  /// too. `after_frame` is called behind each frame. Throws Failure when the disk refuses.
  void Run(const std::function<void()>& after_frame = [] {});

  std::uint64_t Frames() const { return Packets() / packets_per_frame_; }  ///< complete ones
  std::uint64_t Packets() const { return packets_.Value(); }               ///< of the sensor
  double Duration() const;                                                 ///< [s] of sensor time

  /// For a simulation that sends.
  std::string StatusText() const;

  /// Ends handing out the calibration, and tells what it did.
  Report MakeReport();
  bool Interrupted() const { return interrupted_; }  ///< as MakeReport found; false before

  // What the report holds, for the table of several sensors.
  std::uint64_t WrittenOrSent() const;
  std::uint64_t PacketsWithFaults() const;
  double WorstDelay() const { return transmission_ ? transmission_->WorstDelay() : 0.0; }  ///< [s]

  /// Tells of packets that left noticeably late.
  void RemarkOnDelay(const Remarks& remarks) const;

  /// Throws Failure when some packets could not be sent.
  void RequireAllSent() const;

  /// Throws Failure when it was stopped before the frames that were asked for.
  void RequireAllFrames() const;

 private:
  void OpenCapture(const std::string& path);
  void TakeFrame(std::vector<sim::Packet>& packets);
  void Deliver();
  void Finish();

  void AddPackets(Report& report) const;
  void AddCapture(Report& report) const;
  void AddFaults(Report& report) const;

  const SimulateOptions options_;
  const std::unique_ptr<sim::Sensor> sensor_;
  const std::uint64_t packets_per_frame_;
  const Console& console_;
  const Stop stop_;
  sim::PacketFaults faults_;
  std::optional<SimulatedFolder> tables_;
  std::optional<ServedCalibration> served_;
  std::unique_ptr<sim::PcapWriter> capture_;
  std::optional<Transmission> transmission_;
  std::vector<sim::Packet> arriving_;
  std::vector<sim::Packet> first_;          // frame, once it has been waited for
  lidar::Counter packets_;                  // from the sensor
  std::uint64_t written_ = 0;               // to the capture
  bool stopped_ = false;                    // before the last frame
  bool interrupted_ = false;                // as reported
  std::optional<sim::EncodeAhead> frames_;  // last: its thread uses the sensor
};

}  // namespace orliq::cli
