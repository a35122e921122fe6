// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/CaptureSurvey.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "orliq/capture/CaptureFile.h"
#include "orliq/terminal/Interrupt.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kMaxFlows = 1000;
constexpr std::uint64_t kProgressEvery = 4096;  // [records]

class Surveyor {
 public:
  Surveyor(CaptureSurvey& survey, const Model* model) : survey_(survey) {
    if (model == nullptr) return;
    model_ = ModelIndex(*model);
    counter_.emplace(*model);
  }

  void Add(double time, const UdpRecord& record) {
    NoteTime(time);
    ++survey_.records;
    if (record.skip) ++survey_.skipped[static_cast<std::size_t>(*record.skip)];
    if (counter_) counter_->Add(record);
    if (!record.datagram) return;
    const auto flow = flows_.Add(record);
    if (flow) CountFrames(*flow, record);
  }

  void Finish() {
    if (counter_) survey_.frames = counter_->Frames();
    survey_.in_further_flows = flows_.InFurtherFlows();
    survey_.flows = std::move(flows_.Flows());
    for (const auto& [flow, counter] : flow_counters_) {
      survey_.flows[flow].frames = counter.Frames();
    }
    std::sort(survey_.flows.begin(), survey_.flows.end(), [](const Flow& a, const Flow& b) {
      return std::tie(a.port, b.packets, a.source, a.source_port) <
             std::tie(b.port, a.packets, b.source, b.source_port);
    });
  }

 private:
  void NoteTime(double time) {
    const bool first = survey_.records == 0;
    survey_.first_time = first ? time : std::min(survey_.first_time, time);
    survey_.last_time = first ? time : std::max(survey_.last_time, time);
  }

  void CountFrames(std::size_t flow, const UdpRecord& record) {
    if (!counter_ || record.skip || flows_.Flows()[flow].fits[model_] == 0) return;
    auto place = flow_counters_.find(flow);
    if (place == flow_counters_.end()) {
      place = flow_counters_.emplace(flow, counter_->ForAnotherFlow()).first;
    }
    place->second.Add(record);
  }

  CaptureSurvey& survey_;
  FlowList flows_{kMaxFlows};
  std::size_t model_ = 0;                              // index of the one whose frames are counted
  std::optional<FrameCounter> counter_;                // nothing: no frames are counted
  std::map<std::size_t, FrameCounter> flow_counters_;  // by index into flows_
};

}  // namespace

CaptureSurvey SurveyCapture(const std::string& path, const SurveyScope& scope,
                            const SurveyProgress& progress) {
  CaptureFile capture(path);
  CaptureSurvey survey;
  survey.file_bytes = capture.FileBytes();
  survey.link_type = capture.LinkType();
  Surveyor surveyor(survey, scope.model);
  const Wanted wanted = {scope.port, kDriverBufferBytes, scope.source};
  while (capture.Next()) {
    surveyor.Add(capture.Time(), capture.Read(wanted));
    if (survey.records % kProgressEvery != 0) continue;
    if (progress) progress(capture.Position());
    survey.interrupted = InterruptRequested();
    if (survey.interrupted) break;
  }
  survey.fault = capture.Fault();
  surveyor.Finish();
  return survey;
}

}  // namespace orliq::cli
