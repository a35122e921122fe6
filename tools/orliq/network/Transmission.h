// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "orliq/network/HostPort.h"
#include "orliq/terminal/CommandLine.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/Remarks.h"
#include "orliq/terminal/Report.h"
#include "simulator/sending/PacedSender.h"

namespace orliq::cli {

/// Options of a verb that sends packets.
struct TransmissionOptions {
  std::string to;
  std::string source;  ///< IPv4 address of this machine to send from; empty: the system chooses
  double speed = 1.0;
  std::size_t burst = 1;
};

/// Adds --to, --speed and --burst; returns --to.
Option AddTransmissionOptions(CommandLine& command, TransmissionOptions& options);

/// Sends a verb's packets at their pace and tells how that went. Not thread safe.
class Transmission {
 public:
  /// `stop` is asked while waiting and ends every wait. Throws Failure when the target makes no sense
  /// or there is no way to it.
  Transmission(const TransmissionOptions& options, const Console& console,
               std::function<bool()> stop = &InterruptRequested);

  /// What has the time `time_s` is due at `moment`, rather than the first packet at once. Call it
  /// before any packet.
  void Start(double time_s, sim::PaceClock::Time moment) { pacer_.Start(time_s, moment); }

  /// Sends a packet when it is due; `time_s` counts seconds from any moment. The first packet that
  /// cannot be sent is remarked on.
  void Send(const std::uint8_t* payload, std::size_t size, double time_s);

  /// Sends what is left of a burst. Call it before Add and RequireAllSent.
  void Finish();

  const HostPort& Target() const { return target_; }
  std::uint64_t Packets() const { return sender_->Datagrams(); }

  /// [s] by which the latest packet missed its moment.
  double WorstDelay() const;

  void Add(Report& report) const;

  /// Tells of packets that left noticeably late.
  void RemarkOnDelay(const Remarks& remarks) const;

  /// Throws Failure when some packets could not be sent.
  void RequireAllSent() const;

 private:
  void RemarkOnFailure();

  const Console& console_;
  HostPort target_;
  std::unique_ptr<sim::UdpSender> sender_;
  sim::MonotonicClock clock_;
  sim::Pacer pacer_;
  sim::PacedSender paced_;
  bool remarked_ = false;
};

}  // namespace orliq::cli
