// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/InfoOptions.h"

#include <memory>
#include <optional>

#include "orliq/capture/CaptureFile.h"
#include "orliq/capture/FrameRemarks.h"
#include "orliq/capture/PlayableCapture.h"
#include "orliq/capture/SurveyText.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/terminal/Interrupt.h"

namespace orliq::cli {
namespace {

/// The flows whose frames were counted: those of the model that the driver can read.
std::vector<const Flow*> FlowsWithFrames(const CaptureSurvey& survey) {
  std::vector<const Flow*> flows;
  for (const Flow& flow : survey.flows) {
    if (!flow.frames.empty()) flows.push_back(&flow);
  }
  return flows;
}

void AddFrames(Report& report, const CaptureSurvey& survey, const Model& model) {
  const auto flows = FlowsWithFrames(survey);
  FrameSums sums;
  std::uint64_t entries = 0;
  for (const Flow* const flow : flows) {
    entries += flow->frames.size();
    sums.Add(flow->frames, model);
  }
  const std::string text =
      flows.size() == 1 || !model.delivers_frames
          ? FramesText(flows.front()->frames, model)
          : Count(sums.whole, "complete " + std::string(model.name) + " frame") + " in " +
                Count(flows.size(), "flow");
  report.Add("complete_frames", "Frames", sums.whole, text);
  report.Add("torn_frames", "", sums.torn, "");
  report.Add("packets_before_first_frame", "", sums.packets_before, "");
  report.Add("packets_after_last_frame", "", sums.packets_after, "");
  report.Add("frame_entries", "", entries, "");
}

void AddSummary(Report& report, const InfoOptions& options, const CaptureSurvey& survey) {
  const double duration = survey.Duration();
  const double rate = duration > 0 ? static_cast<double>(survey.records - 1) / duration : 0.0;
  report.Add("capture", "Capture", options.capture,
             options.capture + ", " + Megabytes(survey.file_bytes) + ", " + survey.link_type);
  report.Add("link_type", "", survey.link_type, "");
  report.Add("file_bytes", "", survey.file_bytes, "");
  report.Add("records", "Records", survey.records,
             Grouped(survey.records) + (survey.fault.empty() ? "" : ", then malformed"));
  report.Add("duration_s", "Duration", duration, Fixed(duration, 3) + " s");
  report.Add("records_per_s", "Rate", rate, Fixed(rate, 1) + " records/s");
  report.Add("fault", "", survey.fault, "");
  report.Add("interrupted", "", survey.interrupted, "");
}

/// Why the folder is of no use; nothing when it is good.
std::string AddCheckFolder(Report& report, const Model& model, const std::string& folder) {
  if (!model.needs_tables) {
    report.Add("check_folder_loaded", "Check folder", false,
               std::string("not needed: ") + model.name + " has no calibration tables");
    return {};
  }
  const CheckFolderReport check = ExamineCheckFolder(model, folder);
  const char* const verdict = check.complete ? ": loads for "
                              : check.loaded ? ": is incomplete for "
                                             : ": does not load for ";
  report.Add("check_folder_loaded", "Check folder", check.loaded,
             (folder.empty() ? "\"\"" : folder) + verdict + model.name);
  report.Add("check_folder_complete", "", check.complete, "");
  if (!check.remarks.empty()) {
    Table table = {"Remarks on the check folder", {""}, {false}, {}};
    for (const std::string& remark : check.remarks) table.rows.push_back({remark});
    report.Add("check_folder_remarks", check.remarks, std::move(table));
  }
  return check.complete ? std::string() : CheckFolderFault(model, folder, check);
}

const Model* ChosenModel(const InfoOptions& options) {
  if (options.model.empty()) {
    if (!options.check_folder) return nullptr;
    throw Failure(ExitCode::kUsage, "--check-folder needs --model: tables differ by model");
  }
  return &KnownModel(options.model);
}

/// What to know before these packets are played.
void Advise(const CaptureSurvey& survey, const Model& model, const Console& console) {
  console.Note(NoPointsText(model));
  console.Note(OtherModelText(survey, model));
  for (const Flow* const flow : FlowsWithFrames(survey)) {
    console.Note(TornText(flow->frames, model));
    console.Note(JoinedText(flow->frames, model));
    console.Note(SingleMarkText(flow->frames, model));
  }
  const auto ports = FittingPorts(survey, model);
  std::string names;
  for (const auto port : ports) {
    names += (names.empty() ? "" : " or ") + std::to_string(port);
    const auto senders = Senders(survey, model, port);
    if (senders.size() > 1) console.Note(MixedText(senders, port));
  }
  if (ports.size() > 1) console.Note("orliq play and live take one port: choose --port " + names);
}

/// Throws Failure when the capture is not whole, or has nothing of the sensor.
void RequireGoodCapture(const CaptureSurvey& survey, const InfoOptions& options,
                        const SurveyScope& scope) {
  if (survey.interrupted) {
    throw Failure(ExitCode::kLosses, "interrupted after " + Count(survey.records, "record"));
  }
  const bool fits = scope.model != nullptr ? FitsAny(survey, *scope.model) : FitsAnyModel(survey);
  const std::string end =
      survey.fault.empty() ? std::string() : options.capture + ' ' + FaultText(survey);
  if (!fits && survey.records == 0 && !end.empty()) throw Failure(ExitCode::kFileFault, end);
  if (!fits) {
    const bool narrowed = scope.port != 0 || scope.source != 0;
    const auto everything =
        narrowed ? SurveyWithBar(options.capture, {0, 0, scope.model}, options.quiet) : survey;
    throw Failure(ExitCode::kNoData,
                  WhyNothingFits(everything, scope, scope.model) + (end.empty() ? "" : "; " + end));
  }
  if (!end.empty()) throw Failure(ExitCode::kLosses, end);
}

}  // namespace

ExitCode RunInfo(const InfoOptions& wanted, Console& console) {
  CatchInterrupts();
  const Model* const model = ChosenModel(wanted);
  const PlayableCapture capture(wanted.capture);
  InfoOptions options = wanted;
  options.capture = capture.Path();
  const SurveyScope scope = {options.port, ParseSource(options.source), model};
  CaptureSurvey survey = SurveyWithBar(options.capture, scope, options.quiet);
  survey.file_bytes = ReadableFileBytes(wanted.capture);
  Report report;
  AddSummary(report, wanted, survey);
  if (model != nullptr && !FlowsWithFrames(survey).empty()) AddFrames(report, survey, *model);
  std::string folder_fault;
  if (options.check_folder) folder_fault = AddCheckFolder(report, *model, *options.check_folder);
  AddFlows(report, survey, model);
  AddSkipped(report, survey);
  console.Print(report);
  if (!folder_fault.empty()) throw Failure(ExitCode::kFileFault, folder_fault);
  RequireGoodCapture(survey, options, scope);
  capture.RequireWhole();
  if (model != nullptr) Advise(survey, *model, console);
  return ExitCode::kDone;
}

}  // namespace orliq::cli
