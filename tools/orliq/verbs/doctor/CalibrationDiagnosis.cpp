// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "orliq/capture/UdpRecord.h"
#include "orliq/sensors/ClockWords.h"
#include "orliq/verbs/doctor/Diagnosis.h"

namespace orliq::cli {
namespace {

using lidar::UploadState;

constexpr double kFarApart = 1.0;  // [s] between two clocks: no lag of a system explains it

std::string Joined(const std::vector<std::string>& sentences) {
  std::string text;
  for (const std::string& sentence : sentences) text += (text.empty() ? "" : "; ") + sentence;
  return text;
}

void DiagnoseFolder(const Case& subject, const Model& model, HealthFindings& findings) {
  const CalibrationFacts& facts = subject.sensor.calibration;
  const std::string check = "orliq check-params " + *facts.folder + " --model " + model.name;
  if (!facts.report.complete) {
    findings.push_back({Severity::kProblem,
                        "calibration_unusable",
                        CheckFolderFault(model, *facts.folder, facts.report),
                        Joined(facts.hints),
                        "It may be another model's. This tells more:",
                        {check}});
  } else if (facts.suspicious + facts.report.remarks.size() > 0) {
    findings.push_back({Severity::kNote,
                        "calibration_doubtful",
                        "the calibration loads, but something in it is suspicious",
                        Joined(facts.report.remarks),
                        "This tells what:",
                        {check}});
  } else {
    findings.push_back({Severity::kOk, "calibration",
                        "the check folder gives " + std::string(model.name) + " each table"});
  }
}

/// Whether the sensor's host says that nothing answers on that port.
std::string ClosedText(const Case& subject) {
  const auto& closed = subject.machine.seen.closed;
  const auto& upload = subject.Packets().upload;
  const auto found = closed.find(Endpoint(upload.sensor.address, upload.sensor.port));
  if (found == closed.end()) return {};
  return "its host answered " + std::to_string(found->second) +
         (found->second == 1 ? " time" : " times") + " that no program has that port";
}

HealthFinding SilentUpload(const Case& subject) {
  return {Severity::kProblem,
          "upload_silent",
          "the sensor does not hand out its calibration",
          ClosedText(subject),
          UploadAdvice(subject.sensor.calibration.request, subject.Packets().upload),
          {}};
}

/// Without --model nobody has said that this sensor is to be decoded: then it is a note.
HealthFinding Missing(const Case& subject, const Model& model) {
  return {subject.sensor.model != nullptr ? Severity::kProblem : Severity::kNote,
          "calibration_missing",
          std::string(model.name) + " needs calibration: without, " + kWithoutTables,
          "",
          "Name its folder with " + subject.remarks.Setting("check-folder") +
              ", or the sensor's address and port for it with " +
              subject.remarks.Setting("params-from") + '.',
          {}};
}

void DiagnoseUpload(const Case& subject, const Model& model, HealthFindings& findings) {
  const CalibrationFacts& facts = subject.sensor.calibration;
  const lidar::UploadStatistics& upload = subject.Packets().upload;
  if (!facts.refused.empty()) {
    findings.push_back({Severity::kProblem,
                        "upload_refused",
                        MissingTables(model, facts.refused, "its points are wrong").what(),
                        "",
                        "Check " + subject.remarks.Setting("model") + '.',
                        {}});
  } else if (upload.state == UploadState::InUse) {
    findings.push_back({Severity::kOk, "calibration", InUseText(upload)});
  } else if (upload.received_bytes > 0 || upload.requests == 0) {
    const bool asked = upload.requests > 0;
    findings.push_back({Severity::kNote,
                        "upload_unfinished",
                        asked ? "the calibration was still on its way from the sensor"
                              : "the time was too short to ask the sensor for its calibration",
                        asked ? UploadProgress(upload) + " came" : "",
                        "Listen for longer with --seconds.",
                        {}});
  } else {
    findings.push_back(SilentUpload(subject));
  }
}

std::string ClockAdvice(ClockRelation relation, bool far) {
  switch (far ? relation : ClockRelation::kTogether) {
    case ClockRelation::kTai:
    case ClockRelation::kGps:
      return "Have the sensor's time source give UTC (for PTP: a grandmaster that tells the "
             "offset), or reckon with the difference in your application.";
    case ClockRelation::kTimeZone:
      return "Set both clocks to UTC, whatever the time zone.";
    case ClockRelation::kTogether:
      return "Keep both in step by PTP or NTP; timedatectl tells whether this machine's is.";
    default:
      return "Give the sensor a time source (PTP, GPS), and see by timedatectl that this machine's "
             "clock is set.";
  }
}

}  // namespace

void DiagnoseCalibration(const Case& subject, HealthFindings& findings) {
  const Observation& sensor = subject.sensor;
  const CalibrationFacts& facts = sensor.calibration;
  const Model* const model = sensor.model != nullptr ? sensor.model : sensor.driven;
  if (model == nullptr) return;
  if (!model->needs_tables) {
    if (facts.folder || facts.request.Asks()) {
      findings.push_back({Severity::kNote, "calibration_unused",
                          std::string(model->name) + " needs no calibration: what was named has no "
                                                     "effect"});
    }
  } else if (facts.folder) {
    DiagnoseFolder(subject, *model, findings);
  } else if (!facts.request.Asks()) {
    findings.push_back(Missing(subject, *model));
  } else if (sensor.driven != nullptr && sensor.no_port.empty()) {
    DiagnoseUpload(subject, *model, findings);
  }
}

void DiagnoseClock(const Case& subject, HealthFindings& findings) {
  const Model* const model = subject.sensor.driven;
  if (model == nullptr || subject.Packets().clock.packets == 0) return;
  const ClockVerdict verdict = JudgeClock(*model, subject.Packets().clock);
  const std::string text = "the sensor's clock against this machine's: " + verdict.text;
  if (!verdict.IsFault()) {
    findings.push_back({Severity::kOk, "clock", text});
    return;
  }
  // A drift or a jump parts two clocks in time, and below a second points only lag.
  const bool far = verdict.relation == ClockRelation::kOtherPace ||
                   std::abs(subject.Packets().clock.smallest_s) >= kFarApart;
  findings.push_back({far ? Severity::kProblem : Severity::kNote,
                      std::string("clock_") + ClockRelationKey(verdict.relation),
                      text,
                      "",
                      ClockAdvice(verdict.relation, far),
                      {}});
}

}  // namespace orliq::cli
