// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/CaptureSurvey.h"

#include <algorithm>
#include <tuple>

#include "orliq/capture/CaptureFile.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kMaxFlows = 1000;         // a port scan must not fill the memory
constexpr std::uint64_t kProgressEvery = 4096;  // [records]

using FlowKey = std::tuple<std::uint16_t, std::uint32_t, std::uint32_t>;

class Surveyor {
 public:
  explicit Surveyor(CaptureSurvey& survey) : survey_(survey) {}

  void Add(double time, const std::variant<Skip, Datagram>& record) {
    NoteTime(time);
    ++survey_.records;
    if (const auto* const reason = std::get_if<Skip>(&record)) {
      ++survey_.skipped[static_cast<std::size_t>(*reason)];
    } else {
      Add(std::get<Datagram>(record));
    }
  }

 private:
  void NoteTime(double time) {
    const bool first = survey_.records == 0;
    survey_.first_time = first ? time : std::min(survey_.first_time, time);
    survey_.last_time = first ? time : std::max(survey_.last_time, time);
  }

  void Add(const Datagram& datagram) {
    const FlowKey key = {datagram.port, datagram.source, datagram.destination};
    auto known = places_.find(key);
    if (known == places_.end()) {
      if (survey_.flows.size() >= kMaxFlows) {
        ++survey_.in_further_flows;
        return;
      }
      known = places_.emplace(key, survey_.flows.size()).first;
      survey_.flows.push_back(NewFlow(datagram));
    }
    Flow& flow = survey_.flows[known->second];
    ++flow.packets;
    ++flow.sizes[datagram.payload_bytes];
    for (std::size_t i = 0; i < lidar::kSensorModels; ++i) {
      if (Fits(lidar::SensorModels()[i], datagram.payload, datagram.payload_bytes)) ++flow.fits[i];
    }
  }

  static Flow NewFlow(const Datagram& datagram) {
    Flow flow;
    flow.source = datagram.source;
    flow.destination = datagram.destination;
    flow.source_port = datagram.source_port;
    flow.port = datagram.port;
    flow.first_bytes.assign(datagram.payload,
                            datagram.payload + std::min<std::size_t>(8, datagram.payload_bytes));
    return flow;
  }

  CaptureSurvey& survey_;
  std::map<FlowKey, std::size_t> places_;  // index into survey_.flows
};

}  // namespace

CaptureSurvey SurveyCapture(const std::string& path, std::uint16_t port,
                            const SurveyProgress& progress) {
  CaptureFile capture(path);
  CaptureSurvey survey;
  survey.file_bytes = capture.FileBytes();
  survey.link_type = capture.LinkType();
  Surveyor surveyor(survey);
  while (capture.Next()) {
    surveyor.Add(capture.Time(), capture.Content({port}));
    if (progress && survey.records % kProgressEvery == 0) progress(capture.Position());
  }
  survey.fault = capture.Fault();
  std::sort(survey.flows.begin(), survey.flows.end(), [](const Flow& a, const Flow& b) {
    return std::tie(a.port, b.packets, a.source) < std::tie(b.port, a.packets, b.source);
  });
  return survey;
}

}  // namespace orliq::cli
