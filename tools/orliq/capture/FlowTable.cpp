// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <utility>

#include "orliq/capture/SurveyText.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kSizesShown = 2;

/// The commonest payload sizes: "1104", or "1104 (15,000), 60 (3)" when they differ.
std::string SizesText(const Flow& flow) {
  std::vector<std::pair<std::size_t, std::uint64_t>> sizes(flow.sizes.begin(), flow.sizes.end());
  if (sizes.size() == 1) return std::to_string(sizes[0].first);
  std::stable_sort(sizes.begin(), sizes.end(),
                   [](const auto& a, const auto& b) { return a.second > b.second; });
  std::string text;
  for (std::size_t i = 0; i < std::min(sizes.size(), kSizesShown); ++i) {
    text += (i == 0 ? "" : ", ") + std::to_string(sizes[i].first) + " (" +
            Grouped(sizes[i].second) + ')';
  }
  return sizes.size() > kSizesShown ? text + ", ..." : text;
}

/// What a flow's datagrams are, in a line below its addresses.
std::string PayloadText(const Flow& flow) {
  if (flow.first_bytes.empty()) return SizesText(flow) + " bytes";
  return SizesText(flow) + " bytes, the first begins " +
         HexBytes(flow.first_bytes.data(), flow.first_bytes.size());
}

/// "0.0.0.0" for one that whoever kept the packets did not know.
std::string DestinationText(const Flow& flow) {
  const bool unknown = flow.destination == 0 && flow.source != 0;
  return unknown ? "0.0.0.0" : DottedAddress(flow.destination);
}

std::string ReceiverText(const Flow& flow) {
  return DestinationText(flow) + ':' + std::to_string(flow.port);
}

Json FlowJson(const Flow& flow, const Model* model) {
  Json sizes = Json::Object();
  for (const auto& [size, packets] : flow.sizes) sizes[std::to_string(size)] = packets;
  Json fits = Json::Object();
  for (std::size_t i = 0; i < lidar::kSensorModels; ++i) {
    if (flow.fits[i] > 0) fits[lidar::SensorModels()[i].name] = flow.fits[i];
  }
  Json json = {{"destination", DestinationText(flow)},
               {"destination_port", flow.port},
               {"source", DottedAddress(flow.source)},
               {"source_port", flow.source_port},
               {"packets", flow.packets},
               {"payload_sizes", sizes},
               {"first_bytes", HexBytes(flow.first_bytes.data(), flow.first_bytes.size())},
               {"fits", fits},
               {"unreadable", flow.hindrance ? NameOf(*flow.hindrance).key : ""}};
  const Likely likely = flow.hints.Find();
  if (likely.model != nullptr)
    json["likely"] = {{"model", likely.model->name}, {"why", likely.why}};
  if (model == nullptr || flow.frames.empty()) return json;
  FrameSums sums;
  sums.Add(flow.frames, *model);
  json["complete_frames"] = sums.whole;
  json["torn_frames"] = sums.torn;
  json["packets_before_first_frame"] = sums.packets_before;
  json["packets_after_last_frame"] = sums.packets_after;
  return json;
}

std::string Filled(const std::string& text, std::size_t width) {
  return text + std::string(width - std::min(width, text.size()), ' ');
}

/// Columns of the addresses, as wide as the longest.
struct Widths {
  std::size_t packets = 7, from = 4, to = 2;

  explicit Widths(const CaptureSurvey& survey) {
    for (const Flow& flow : survey.flows) {
      packets = std::max(packets, Grouped(flow.packets).size());
      from = std::max(from, Endpoint(flow.source, flow.source_port).size());
      to = std::max(to, ReceiverText(flow).size());
    }
  }
  std::string Line(const std::string& count, const std::string& sender, const std::string& receiver,
                   const std::string& fit) const {
    return std::string(packets - std::min(packets, count.size()), ' ') + count + "  " +
           Filled(sender, from) + "  " + Filled(receiver, to) + "  " + fit;
  }
};

/// Of a model that delivers none.
std::string NoFramesText(const Model& model) {
  const bool marks = model.frame_mark != lidar::FrameMark::None;
  return "cannot be counted: " + std::string(model.name) + " packets tell " +
         (marks ? "too little" : "nothing") + " of them";
}

}  // namespace

std::string FramesText(const std::vector<FrameRecords>& frames, const Model& model) {
  if (!model.delivers_frames) return NoFramesText(model);
  FrameSums sums;
  sums.Add(frames, model);
  if (frames.size() < 2) return "no frame mark in " + Count(sums.packets_after, "packet");
  const std::string outside = sums.packets_before + sums.packets_after == 0
                                  ? "no packets outside them"
                                  : Count(sums.packets_before, "packet") + " before and " +
                                        Grouped(sums.packets_after) + " after them";
  if (frames.size() == 2 && sums.whole == 1) {
    const bool first = sums.packets_before == 0;
    return "1 " + std::string(model.name) + " frame, perhaps cut at its " +
           (first ? "beginning, " : "end, ") + outside;
  }
  const std::string torn = sums.torn > 0 ? ", " + Grouped(sums.torn) + " in pieces" : "";
  return Count(sums.whole, "complete " + std::string(model.name) + " frame") + torn + ", " +
         outside;
}

void AddFlows(Report& report, const CaptureSurvey& survey, const Model* model) {
  const Widths widths(survey);
  const std::string below(widths.packets + 2, ' ');
  Table table = {"UDP flows", {""}, {false}, {}};
  if (!survey.flows.empty()) {
    table.rows.push_back({widths.Line("Packets", "From", "To", "Fits model")});
  }
  Json json = Json::Array();
  for (const Flow& flow : survey.flows) {
    json.Add(FlowJson(flow, model));
    table.rows.push_back(
        {widths.Line(Grouped(flow.packets), Endpoint(flow.source, flow.source_port),
                     ReceiverText(flow), FitText(flow))});
    table.rows.push_back({below + PayloadText(flow)});
    const Likely likely = flow.hints.Find();
    if (likely.model != nullptr) {
      table.rows.push_back({below + "likely " + likely.model->name + ": " + likely.why});
    }
    if (model != nullptr && survey.flows.size() > 1 && !flow.frames.empty()) {
      table.rows.push_back({below + FramesText(flow.frames, *model)});
    }
  }
  if (survey.in_further_flows > 0) {
    table.rows.push_back(
        {widths.Line(Grouped(survey.in_further_flows), "in further flows", "", "")});
  }
  report.Add("flows", std::move(json), std::move(table));
  report.Add("packets_in_further_flows", "", survey.in_further_flows, "");
}

void AddSkipped(Report& report, const CaptureSurvey& survey) {
  Table table = {"Skipped records", {"Records", "Reason"}, {true, false}, {}};
  Json json = Json::Object();
  for (std::size_t i = 0; i < kSkips; ++i) {
    json[SkipNames()[i].key] = survey.skipped[i];
    if (survey.skipped[i] == 0) continue;
    table.rows.push_back({Grouped(survey.skipped[i]), SkipNames()[i].text});
  }
  report.Add("skipped", std::move(json), std::move(table));
}

}  // namespace orliq::cli
