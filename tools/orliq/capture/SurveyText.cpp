// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/SurveyText.h"

#include <algorithm>
#include <set>
#include <vector>

#include "orliq/capture/CaptureFile.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/ProgressBar.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kSizesShown = 3;

std::vector<std::string> FittingModels(const Flow& flow) {
  std::vector<std::string> names;
  for (const Model& model : lidar::SensorModels()) {
    if (flow.fits[ModelIndex(model)] > 0) names.emplace_back(model.name);
  }
  return names;
}

std::string Endpoint(std::uint32_t address, std::uint16_t port) {
  return DottedAddress(address) + ':' + std::to_string(port);
}

/// The commonest payload sizes: "1104", or "1104 (15,000), 60 (3)" when they differ.
std::string SizesText(const Flow& flow) {
  std::vector<std::pair<std::size_t, std::uint64_t>> sizes(flow.sizes.begin(), flow.sizes.end());
  if (sizes.size() == 1) return std::to_string(sizes[0].first);
  std::sort(sizes.begin(), sizes.end(),
            [](const auto& a, const auto& b) { return a.second > b.second; });
  std::string text;
  for (std::size_t i = 0; i < std::min(sizes.size(), kSizesShown); ++i) {
    text += (i == 0 ? "" : ", ") + std::to_string(sizes[i].first) + " (" +
            Grouped(sizes[i].second) + ')';
  }
  return sizes.size() > kSizesShown ? text + ", ..." : text;
}

Json FlowJson(const Flow& flow) {
  Json sizes = Json::object();
  for (const auto& [size, packets] : flow.sizes) sizes[std::to_string(size)] = packets;
  Json fits = Json::object();
  for (const Model& model : lidar::SensorModels()) {
    if (flow.fits[ModelIndex(model)] > 0) fits[model.name] = flow.fits[ModelIndex(model)];
  }
  return {{"destination", DottedAddress(flow.destination)},
          {"destination_port", flow.port},
          {"source", DottedAddress(flow.source)},
          {"source_port", flow.source_port},
          {"packets", flow.packets},
          {"payload_sizes", sizes},
          {"first_bytes", HexBytes(flow.first_bytes.data(), flow.first_bytes.size())},
          {"fits", fits}};
}

std::string Joined(const std::vector<std::string>& words, const std::string& between) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

}  // namespace

CaptureSurvey SurveyWithBar(const std::string& path, std::uint16_t port, bool quiet) {
  ProgressBar bar("reading", ReadableFileBytes(path), quiet);
  return SurveyCapture(path, port, [&](std::uint64_t bytes) { bar.Update(bytes); });
}

bool FitsAny(const CaptureSurvey& survey, const Model& model) {
  return std::any_of(survey.flows.begin(), survey.flows.end(),
                     [&](const Flow& flow) { return flow.fits[ModelIndex(model)] > 0; });
}

std::uint16_t FittingPort(const CaptureSurvey& survey, const Model& model) {
  std::set<std::uint16_t> ports;
  for (const Flow& flow : survey.flows) {
    if (flow.fits[ModelIndex(model)] > 0) ports.insert(flow.port);
  }
  if (ports.size() <= 1) return ports.empty() ? std::uint16_t{0} : *ports.begin();
  std::string names;
  for (const std::uint16_t port : ports) {
    if (!names.empty()) names += ", ";
    names += std::to_string(port);
  }
  throw Failure(ExitCode::kUsage, "packets that fit " + std::string(model.name) +
                                      " go to several ports: choose one with --port (" + names +
                                      ')');
}

std::string FitText(const Flow& flow) {
  const auto names = FittingModels(flow);
  if (names.empty()) return "none";
  const std::uint64_t most = *std::max_element(flow.fits.begin(), flow.fits.end());
  const std::string share =
      most == flow.packets ? "" : " (" + Grouped(most) + " of " + Grouped(flow.packets) + ')';
  return Joined(names, " or ") + share;
}

std::string WhyNothingFits(const CaptureSurvey& survey, const Model& model, std::uint16_t port) {
  const std::string to_port = port == 0 ? "" : " to port " + std::to_string(port);
  if (survey.flows.empty()) {
    return "the capture holds no UDP packet" + to_port + " that can be played: orliq info " +
           (port == 0 ? "tells why records are skipped" : "without --port shows what it holds");
  }
  const std::string sentence = "no packet" + to_port + " fits " + std::string(model.name) + " (" +
                               std::to_string(model.packet_bytes) + " bytes)";
  if (FitsAny(survey, model)) {
    return sentence + ", but those to port " + std::to_string(FittingPort(survey, model)) +
           " do: leave --port away";
  }
  const auto other = std::find_if(survey.flows.begin(), survey.flows.end(),
                                  [](const Flow& flow) { return !FittingModels(flow).empty(); });
  if (other == survey.flows.end()) {
    return sentence + ": orliq info shows what the capture holds";
  }
  return sentence + ", but those to port " + std::to_string(other->port) + " fit " +
         Joined(FittingModels(*other), " or ") + ": try --model " + FittingModels(*other).front();
}

std::string FaultText(const CaptureSurvey& survey) {
  return "ends early after " + Count(survey.records, "good record") + " (" + survey.fault + ')';
}

void AddFlows(Report& report, const CaptureSurvey& survey) {
  Table table = {"UDP flows",
                 {"Destination", "Source", "Packets", "Payload bytes", "First bytes", "Fits model"},
                 {false, false, true, false, false, false},
                 {}};
  Json json = Json::array();
  for (const Flow& flow : survey.flows) {
    json.push_back(FlowJson(flow));
    table.rows.push_back(
        {Endpoint(flow.destination, flow.port), Endpoint(flow.source, flow.source_port),
         Grouped(flow.packets), SizesText(flow),
         HexBytes(flow.first_bytes.data(), flow.first_bytes.size()), FitText(flow)});
  }
  if (survey.in_further_flows > 0) {
    table.rows.push_back({"(further flows)", "", Grouped(survey.in_further_flows), "", "", ""});
  }
  report.Add("flows", std::move(json), std::move(table));
  report.Add("packets_in_further_flows", "", survey.in_further_flows, "");
}

void AddSkipped(Report& report, const CaptureSurvey& survey) {
  Table table = {"Skipped records", {"Records", "Reason"}, {true, false}, {}};
  Json json = Json::object();
  for (std::size_t i = 0; i < kSkips; ++i) {
    json[SkipNames()[i].key] = survey.skipped[i];
    if (survey.skipped[i] == 0) continue;
    table.rows.push_back({Grouped(survey.skipped[i]), SkipNames()[i].text});
  }
  report.Add("skipped", std::move(json), std::move(table));
}

}  // namespace orliq::cli
