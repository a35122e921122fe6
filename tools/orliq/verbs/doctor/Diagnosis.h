// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orliq/terminal/Remarks.h"
#include "orliq/verbs/doctor/HealthFinding.h"
#include "orliq/verbs/doctor/Observation.h"

// From what was seen to what it means. Pure functions: nothing here looks anywhere.
namespace orliq::cli {

/// One sensor and all that is known of it; `remarks` knows how the user wrote its settings.
struct Case {
  const Observation& sensor;
  const MachineState& machine;
  const Remarks& remarks;

  const lidar::DriverStatistics& Packets() const { return sensor.counts.packets; }

  /// Datagrams that reached the port, of any sender.
  std::uint64_t Arrived() const;

  /// Of them those of the sender that counts.
  std::uint64_t Counted() const;

  /// How long packets came while the driver ran [s].
  double ActiveSeconds() const;

  /// So many packets in that time, a second; 0 when it was too short to tell.
  double Rate(std::uint64_t count) const;

  /// "--port 2368", or "port: 2368".
  std::string Setting(const std::string& option, const std::string& value) const {
    return remarks.Setting(option) + ' ' + value;
  }
};

/// All findings on a sensor, the problems first.
HealthFindings DiagnoseSensor(const Case& subject);

/// What concerns the machine rather than one sensor. `silent`: a sensor of which nothing came.
HealthFindings DiagnoseMachine(const MachineState& machine, bool silent);

/// The other programs' sockets that are in the way: of two addresses of this machine each has ports of
/// its own.
std::vector<PortHolder> Rivals(const Observation& sensor);

// Its parts, each for one side of the matter.
void DiagnosePort(const Case& subject, HealthFindings& findings);
void DiagnoseSilence(const Case& subject, HealthFindings& findings);
void DiagnosePackets(const Case& subject, HealthFindings& findings);
void DiagnoseLoss(const Case& subject, HealthFindings& findings);
void DiagnoseFrames(const Case& subject, HealthFindings& findings);
void DiagnoseCalibration(const Case& subject, HealthFindings& findings);
void DiagnoseClock(const Case& subject, HealthFindings& findings);

/// "50.0 %", "0.02 %"
std::string ShareText(std::uint64_t part, std::uint64_t all);

/// A number that is not negative, as a whole one: "7,680".
std::string Rounded(double number);

/// The model whose packets a flow has, as far as they tell; null when they do not.
const Model* LikelyModel(const Flow& flow);

/// "3,840 packets from 192.168.1.200:2368 to 192.168.1.102:2369".
std::string FlowText(const Flow& flow);

}  // namespace orliq::cli
