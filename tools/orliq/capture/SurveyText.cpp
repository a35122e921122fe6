// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/SurveyText.h"

#include <algorithm>
#include <utility>

#include "orliq/capture/CaptureFile.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/ProgressBar.h"

namespace orliq::cli {
namespace {

/// "a, b or c"
std::string Listed(const std::vector<std::string>& words, const std::string& last) {
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i > 0) text += i + 1 == words.size() ? ' ' + last + ' ' : ", ";
    text += words[i];
  }
  return text;
}

std::vector<std::string> PortNames(const std::set<std::uint16_t>& ports) {
  std::vector<std::string> names(ports.size());
  std::transform(ports.begin(), ports.end(), names.begin(),
                 [](std::uint16_t port) { return std::to_string(port); });
  return names;
}

std::vector<std::string> FittingModels(const Flow& flow) {
  std::vector<std::string> names;
  for (const Model& model : lidar::SensorModels()) {
    if (flow.fits[ModelIndex(model)] > 0) names.emplace_back(model.name);
  }
  return names;
}

bool IsReadable(const Flow& flow, const Model& model) {
  return !flow.hindrance && flow.fits[ModelIndex(model)] > 0;
}

/// What stands in the driver's way, in few words.
const char* HindranceText(Skip reason) {
  switch (reason) {
    case Skip::kVlan:
      return "VLAN-tagged";
    case Skip::kIpv6:
      return "by IPv6";
    case Skip::kIpOptions:
      return "with IP options";
    case Skip::kFragment:
      return "in fragments";
    case Skip::kCut:
      return "cut short";
    default:
      return "too large for these sensors";
  }
}

}  // namespace

CaptureSurvey SurveyWithBar(const std::string& path, const SurveyScope& scope, bool quiet,
                            const std::string& task) {
  ProgressBar bar(task, ReadableFileBytes(path), quiet);
  return SurveyCapture(path, scope, [&](std::uint64_t bytes) { bar.Update(bytes); });
}

bool FitsAny(const CaptureSurvey& survey, const Model& model) {
  return std::any_of(survey.flows.begin(), survey.flows.end(),
                     [&](const Flow& flow) { return IsReadable(flow, model); });
}

bool FitsAnyModel(const CaptureSurvey& survey) {
  return std::any_of(lidar::SensorModels().begin(), lidar::SensorModels().end(),
                     [&](const Model& model) { return FitsAny(survey, model); });
}

std::set<std::uint16_t> FittingPorts(const CaptureSurvey& survey, const Model& model) {
  std::set<std::uint16_t> ports;
  for (const Flow& flow : survey.flows) {
    if (IsReadable(flow, model)) ports.insert(flow.port);
  }
  return ports;
}

std::uint16_t FittingPort(const CaptureSurvey& survey, const Model& model,
                          const SensorWords& words) {
  const auto ports = FittingPorts(survey, model);
  if (ports.size() <= 1) return ports.empty() ? std::uint16_t{0} : *ports.begin();
  throw Failure(ExitCode::kUsage, "packets that fit " + std::string(model.name) +
                                      " go to several ports: choose one with " + words.port + " (" +
                                      Listed(PortNames(ports), "or") + ')');
}

std::vector<std::string> Senders(const CaptureSurvey& survey, const Model& model,
                                 std::uint16_t port) {
  std::map<std::string, std::uint64_t> packets;
  for (const Flow& flow : survey.flows) {
    if ((port == 0 || flow.port == port) && IsReadable(flow, model)) {
      packets[Endpoint(flow.source, flow.source_port)] += flow.fits[ModelIndex(model)];
    }
  }
  std::vector<std::pair<std::string, std::uint64_t>> order(packets.begin(), packets.end());
  std::stable_sort(order.begin(), order.end(),
                   [](const auto& a, const auto& b) { return a.second > b.second; });
  std::vector<std::string> names(order.size());
  std::transform(order.begin(), order.end(), names.begin(),
                 [](const auto& sender) { return sender.first; });
  return names;
}

std::string MixedText(const std::vector<std::string>& senders, std::uint16_t port,
                      const SensorWords& words) {
  std::set<std::string> addresses;
  for (const auto& sender : senders) addresses.insert(sender.substr(0, sender.find(':')));
  return Listed(senders, "and") + " send to " +
         (port == 0 ? "these ports" : "port " + std::to_string(port)) +
         ": a frame would mix their points" +
         (addresses.size() > 1 ? std::string(", choose one with ") + words.source
                               : ", unless it is one sensor that was started again");
}

std::uint32_t ParseSource(const std::string& text) {
  if (text.empty()) return 0;
  const auto address = ParseAddress(text);
  if (address) return *address;
  throw Failure(ExitCode::kUsage,
                "--source " + text + " is no IPv4 address, such as 192.168.1.200");
}

std::string FitText(const Flow& flow) {
  const auto names = FittingModels(flow);
  if (names.empty()) return flow.hindrance ? HindranceText(*flow.hindrance) : "none";
  const std::uint64_t most = *std::max_element(flow.fits.begin(), flow.fits.end());
  const std::string share =
      most == flow.packets ? "" : " (" + Grouped(most) + " of " + Grouped(flow.packets) + ')';
  const std::string but =
      flow.hindrance ? std::string(", but ") + HindranceText(*flow.hindrance) : std::string();
  return Listed(names, "or") + share + but;
}

std::string OtherModelText(const CaptureSurvey& survey, const Model& model,
                           const SensorWords& words) {
  for (const Flow& flow : survey.flows) {
    if (!IsReadable(flow, model)) continue;
    const auto [likely, why] = flow.hints.FindLike(model);
    if (likely == nullptr || likely == &model) continue;
    const std::string name = likely->name;
    const std::string sender = DottedAddress(flow.source);
    std::string text = "packets from " + sender + " to port " + std::to_string(flow.port);
    text.append(" look like those of ").append(name).append(", not of ").append(model.name);
    text.append(" (").append(why).append("): nothing proves it, but try ");
    text.append(words.model).append(" ").append(name);
    if (Senders(survey, model, flow.port).size() > 1) {
      text.append(" with ").append(words.source).append(" ").append(sender);
    }
    return text;
  }
  return {};
}

namespace {

/// A flow of the model that is there, but that the driver cannot read; null without one.
const Flow* UnreadableFlow(const CaptureSurvey& survey, const Model* model) {
  const auto fits = [&](const Flow& flow) {
    const bool any =
        model == nullptr ? !FittingModels(flow).empty() : flow.fits[ModelIndex(*model)] > 0;
    return flow.hindrance && any;
  };
  const auto found = std::find_if(survey.flows.begin(), survey.flows.end(), fits);
  return found == survey.flows.end() ? nullptr : &*found;
}

std::string ScopeText(const SurveyScope& scope) {
  return (scope.source == 0 ? "" : " from " + DottedAddress(scope.source)) +
         (scope.port == 0 ? "" : " to port " + std::to_string(scope.port));
}

/// What to try for a model, none of whose packets is within the scope.
std::string Remedy(const CaptureSurvey& survey, const SurveyScope& scope, const Model& model,
                   const SensorWords& words) {
  if (FitsAny(survey, model)) {
    const auto ports = PortNames(FittingPorts(survey, model));
    const bool both = scope.source != 0 && scope.port != 0;
    return ", but those to port " + Listed(ports, "or") + " do: leave " +
           (scope.port != 0 ? words.port : "") + (both ? " and " : "") +
           (scope.source != 0 ? words.source : "") + " away";
  }
  if (const Flow* const flow = UnreadableFlow(survey, &model)) {
    return " in a form that can be read: those to port " + std::to_string(flow->port) + " are " +
           HindranceText(*flow->hindrance);
  }
  const auto other = std::find_if(survey.flows.begin(), survey.flows.end(), [](const Flow& flow) {
    return !flow.hindrance && !FittingModels(flow).empty();
  });
  if (other == survey.flows.end()) return {};
  const auto names = FittingModels(*other);
  const Likely likely = other->hints.Find();
  const std::string fit =
      ", but those to port " + std::to_string(other->port) + " fit " + Listed(names, "or") + ": ";
  if (likely.model != nullptr && names.size() > 1) {
    return fit + "most likely " + likely.model->name + ", try " + words.model + ' ' +
           likely.model->name;
  }
  return fit + (names.size() > 1 ? "nothing tells which sent them"
                                 : std::string("try ") + words.model + ' ' + names.front());
}

}  // namespace

std::string WhyNothingFits(const CaptureSurvey& survey, const SurveyScope& scope,
                           const Model* model, const SensorWords& words) {
  if (survey.records == 0) return "the capture holds no record";
  if (survey.flows.empty()) return "the capture holds no UDP packet that can be played";
  if (model != nullptr) {
    return "no packet" + ScopeText(scope) + " fits " + std::string(model->name) + " (" +
           std::to_string(model->packet_bytes) + " bytes)" + Remedy(survey, scope, *model, words);
  }
  const Flow* const flow = UnreadableFlow(survey, nullptr);
  const std::string why = flow == nullptr ? std::string()
                                          : " in a form that can be read: those to port " +
                                                std::to_string(flow->port) + " are " +
                                                HindranceText(*flow->hindrance);
  return "no packet" + ScopeText(scope) + " fits any known sensor" + why;
}

std::string FaultText(const CaptureSurvey& survey) {
  return "ends early after " + Count(survey.records, "good record") + " (" + survey.fault + ')';
}

LostRecords FindLostRecords(const std::array<std::uint64_t, kSkips>& skipped) {
  LostRecords lost;
  for (std::size_t i = 0; i < kSkips; ++i) {
    if (SkipNames()[i].loss && skipped[i] > 0) lost[static_cast<Skip>(i)] = skipped[i];
  }
  return lost;
}

std::string LostText(const LostRecords& lost) {
  std::string text;
  for (const auto& [reason, count] : lost) {
    text += (text.empty() ? "" : ", ") + Grouped(count) + " (" + NameOf(reason).text + ')';
  }
  return text.empty() ? "none" : text;
}

Json LostJson(const LostRecords& lost) {
  Json json = Json::Object();
  for (const auto& [reason, count] : lost) json[NameOf(reason).key] = count;
  return json;
}

}  // namespace orliq::cli
