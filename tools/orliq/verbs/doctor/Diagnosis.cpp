// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/doctor/Diagnosis.h"

#include <algorithm>
#include <cmath>

#include "orliq/terminal/NumberText.h"

namespace orliq::cli {

const char* SeverityName(Severity severity) {
  static constexpr const char* kNames[] = {"ok", "note", "problem"};
  return kNames[static_cast<std::size_t>(severity)];
}

std::uint64_t Case::Arrived() const {
  std::uint64_t datagrams = Packets().received + Packets().other_source;
  for (const Flow& flow : sensor.flows) datagrams += flow.packets;
  return datagrams;
}

std::uint64_t Case::Counted() const {
  std::uint64_t datagrams = Packets().received;
  for (const Flow& flow : sensor.flows) {
    if (sensor.source.empty() || DottedAddress(flow.source) == sensor.source) {
      datagrams += flow.packets;
    }
  }
  return datagrams;
}

double Case::ActiveSeconds() const {
  return std::max(0.0, sensor.seconds - std::max(Packets().last_packet_age_s, 0.0));
}

double Case::Rate(std::uint64_t count) const {
  constexpr double kLeast = 0.1;  // [s]
  return ActiveSeconds() < kLeast ? 0.0 : static_cast<double>(count) / ActiveSeconds();
}

HealthFindings DiagnoseSensor(const Case& subject) {
  HealthFindings findings;
  DiagnosePort(subject, findings);
  DiagnoseSilence(subject, findings);
  DiagnosePackets(subject, findings);
  DiagnoseLoss(subject, findings);
  DiagnoseFrames(subject, findings);
  DiagnoseCalibration(subject, findings);
  DiagnoseClock(subject, findings);
  std::stable_sort(findings.begin(), findings.end(),
                   [](const auto& a, const auto& b) { return a.severity > b.severity; });
  return findings;
}

std::string ShareText(std::uint64_t part, std::uint64_t all) {
  const double share =
      all == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(all);
  return Fixed(share, share < 0.1 ? 3 : 1) + " %";
}

std::string Rounded(double number) {
  return Grouped(static_cast<std::uint64_t>(std::llround(number)));
}

const Model* LikelyModel(const Flow& flow) {
  const Model* only = nullptr;
  for (const Model& model : lidar::SensorModels()) {
    if (flow.fits[ModelIndex(model)] == 0) continue;
    if (only != nullptr) return flow.hints.Find().model;
    only = &model;
  }
  return only;
}

std::string FlowText(const Flow& flow) {
  return Count(flow.packets, "packet") + " from " + Endpoint(flow.source, flow.source_port) +
         " to " + Endpoint(flow.destination, flow.port);
}

}  // namespace orliq::cli
