// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/play/CapturePlan.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "orliq/capture/CaptureFile.h"
#include "orliq/capture/FrameRemarks.h"
#include "orliq/capture/SurveyText.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

CaptureSurvey SurveyUnlessInterrupted(const CaptureSource& source, const SurveyScope& scope,
                                      bool quiet) {
  CaptureSurvey survey = SurveyWithBar(source.capture, scope, quiet, source.reading);
  if (!survey.interrupted) return survey;
  throw Failure(ExitCode::kLosses, "interrupted before a frame was played");
}

/// Throws Failure when no packet in the scope fits the model, and says why.
void RequireFit(const CaptureSource& source, const CapturePlan& plan, bool quiet) {
  if (FitsAny(plan.survey, *plan.model)) return;
  const bool narrowed = plan.scope.port != 0 || plan.scope.source != 0;
  const auto everything =
      narrowed ? SurveyUnlessInterrupted(source, {0, 0, plan.model}, quiet) : plan.survey;
  const bool malformed = plan.survey.records == 0 && !plan.survey.fault.empty();
  throw Failure(malformed ? ExitCode::kFileFault : ExitCode::kNoData,
                (malformed ? source.capture + ' ' + FaultText(plan.survey)
                           : WhyNothingFits(everything, plan.scope, plan.model, source.words)) +
                    ". orliq info shows what the capture holds");
}

/// Whether the file is not the one any more in which the frames were counted.
bool HasChanged(const std::string& capture, const CaptureSurvey& survey) {
  std::error_code gone;  // a file that was removed can still be read to its end
  const auto bytes = std::filesystem::file_size(capture, gone);
  return !gone && bytes != survey.file_bytes;
}

/// What frame marks mean that are few, or stand where none is due.
std::vector<std::string> MarkRemarks(const CapturePlan& plan, int first) {
  const auto& frames = plan.survey.frames;
  std::vector<std::string> remarks;
  if (!plan.HasMarks()) {
    remarks.emplace_back(
        "the capture holds no frame mark: its clouds end anywhere and are no frames");
  }
  const bool doubtful = first == 0 || plan.model->frame_mark == lidar::FrameMark::First;
  if (doubtful) remarks.push_back(SingleMarkText(frames, *plan.model));
  remarks.push_back(TornText(frames, *plan.model));
  remarks.push_back(JoinedText(frames, *plan.model));
  return remarks;
}

}  // namespace

void ExamineSource(const CaptureSource& source, const Remarks& remarks) {
  ReadableFileBytes(source.capture);
  RequireCalibration(*source.model, source.check_folder, remarks);
}

CapturePlan MakeCapturePlan(const CaptureSource& source, bool quiet) {
  const Model& model = *source.model;
  const SurveyScope scope = {source.port.value_or(0), ParseSource(source.source), &model};
  CapturePlan plan = {&model, scope, SurveyUnlessInterrupted(source, scope, quiet), {}};
  RequireFit(source, plan, quiet);
  if (!source.port) {
    plan.scope.port = FittingPort(plan.survey, model, source.words);
    if (plan.survey.flows.size() > 1) {
      plan.survey = SurveyUnlessInterrupted(source, plan.scope, quiet);
    }
  }
  plan.whole = plan.HasMarks() ? FindWholeFrames(plan.survey.frames, model) : WholeFrames{0, 1};
  return plan;
}

/// The entry before the first played one, at whose end the decoder knows the packet that comes. The
/// capture's beginning has none before it; the number that starts a frame is below all others, so
/// it follows well there. The entry with most packets has not lost its first.
int EntryAhead(const CapturePlan& plan, int first, int entries) {
  const auto& frames = plan.survey.frames;
  if (first > 0) return first - 1;
  if (frames.size() < 2) return 0;
  const auto fullest = std::max_element(
      frames.begin() + 1, frames.end(),
      [](const FrameRecords& a, const FrameRecords& b) { return a.packets < b.packets; });
  return std::min(static_cast<int>(fullest - frames.begin()), entries) - 1;
}

std::vector<int> UsableFrames(const CapturePlan& plan, bool partial) {
  std::vector<int> usable;
  for (std::size_t i = 0; i < plan.survey.frames.size(); ++i) {
    const auto entry = static_cast<int>(i);
    const bool counts = partial ? plan.survey.frames[i].packets > 0 : plan.whole.Holds(entry);
    if (counts) usable.push_back(entry);
  }
  return usable;
}

std::vector<std::string> CaptureRemarks(const CapturePlan& plan, int first,
                                        const SensorWords& words) {
  const auto senders = Senders(plan.survey, *plan.model, plan.scope.port);
  std::vector<std::string> remarks;
  if (senders.size() > 1) remarks.push_back(MixedText(senders, plan.scope.port, words));
  remarks.push_back(NoPointsText(*plan.model));
  remarks.push_back(OtherModelText(plan.survey, *plan.model, words));
  if (!plan.model->delivers_frames) return remarks;
  const auto marks = MarkRemarks(plan, first);
  remarks.insert(remarks.end(), marks.begin(), marks.end());
  return remarks;
}

void RequireWholeCapture(const std::string& capture, const CaptureSurvey& survey) {
  if (!survey.fault.empty()) {
    throw Failure(ExitCode::kLosses, capture + ' ' + FaultText(survey));
  }
  if (HasChanged(capture, survey)) {
    throw Failure(ExitCode::kLosses, capture + " has changed while it was played");
  }
}

}  // namespace orliq::cli
