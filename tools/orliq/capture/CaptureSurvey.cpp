// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/CaptureSurvey.h"

#include <algorithm>
#include <tuple>

#include "orliq/capture/CaptureFile.h"
#include "orliq/terminal/Interrupt.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kMaxFlows = 1000;         // a port scan must not fill the memory
constexpr std::uint64_t kProgressEvery = 4096;  // [records]

using FlowKey =
    std::tuple<std::uint16_t, std::uint32_t, std::uint16_t, std::uint32_t, std::optional<Skip>>;

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
    if (record.datagram) AddToFlow(record);
  }

  void Finish() {
    if (counter_) survey_.frames = counter_->Frames();
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

  void AddToFlow(const UdpRecord& record) {
    const Datagram& datagram = *record.datagram;
    const FlowKey key = {datagram.port, datagram.source, datagram.source_port, datagram.destination,
                         record.skip};
    auto known = places_.find(key);
    if (known == places_.end()) {
      if (survey_.flows.size() >= kMaxFlows) {
        ++survey_.in_further_flows;
        return;
      }
      known = places_.emplace(key, survey_.flows.size()).first;
      survey_.flows.push_back(NewFlow(record));
    }
    Flow& flow = survey_.flows[known->second];
    ++flow.packets;
    ++flow.sizes[datagram.payload_bytes];
    NoteFits(flow, datagram);
    if (datagram.present_bytes == datagram.payload_bytes) {
      flow.hints.Add(datagram.payload, datagram.payload_bytes);
    }
    CountFrames(known->second, record);
  }

  /// By its length and first bytes, also of a datagram that the driver cannot read.
  static void NoteFits(Flow& flow, const Datagram& datagram) {
    for (std::size_t i = 0; i < lidar::kSensorModels; ++i) {
      const Model& model = lidar::SensorModels()[i];
      if (datagram.present_bytes < model.identifier_bytes) continue;
      if (Fits(model, datagram.payload, datagram.payload_bytes)) ++flow.fits[i];
    }
  }

  void CountFrames(std::size_t flow, const UdpRecord& record) {
    if (!counter_ || record.skip || survey_.flows[flow].fits[model_] == 0) return;
    auto place = flow_counters_.find(flow);
    if (place == flow_counters_.end()) {
      place = flow_counters_.emplace(flow, counter_->ForAnotherFlow()).first;
    }
    place->second.Add(record);
  }

  static Flow NewFlow(const UdpRecord& record) {
    const Datagram& datagram = *record.datagram;
    Flow flow;
    flow.hindrance = record.skip;
    flow.source = datagram.source;
    flow.destination = datagram.destination;
    flow.source_port = datagram.source_port;
    flow.port = datagram.port;
    flow.first_bytes.assign(datagram.payload,
                            datagram.payload + std::min<std::size_t>(8, datagram.present_bytes));
    return flow;
  }

  CaptureSurvey& survey_;
  std::map<FlowKey, std::size_t> places_;              // index into survey_.flows
  std::size_t model_ = 0;                              // index of the one whose frames are counted
  std::optional<FrameCounter> counter_;                // nothing: no frames are counted
  std::map<std::size_t, FrameCounter> flow_counters_;  // by index into survey_.flows
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
