// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/doctor/DoctorReport.h"

#include <algorithm>

#include "orliq/network/HostNetwork.h"
#include "orliq/terminal/WrappedText.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kColumns = 80;
constexpr std::size_t kHeadColumns = 9;  // "problem" and two blanks
// As the library colours its lines: red, yellow, green.
constexpr const char* kColours[] = {"\033[1m\033[32m", "\033[1m\033[33m", "\033[1m\033[31m"};
constexpr char kPlain[] = "\033[0m";

std::string Coloured(Severity severity, const std::string& text, bool colours) {
  if (!colours) return text;
  return std::string(kColours[static_cast<std::size_t>(severity)]).append(text).append(kPlain);
}

std::string Head(const std::string& word) {
  return word + std::string(kHeadColumns - std::min(kHeadColumns, word.size()), ' ');
}

/// The sentence behind its severity, then what was seen and what to do.
std::string FindingText(const HealthFinding& finding, bool colours) {
  const std::string name = SeverityName(finding.severity);
  const std::string indent(kHeadColumns, ' ');
  std::string text = Wrapped(Head(name), finding.text, kColumns);
  text = Coloured(finding.severity, name, colours) + text.substr(name.size());
  if (!finding.evidence.empty()) text += Wrapped(indent + "seen: ", finding.evidence, kColumns);
  if (!finding.advice.empty()) text += Wrapped(indent + "do: ", finding.advice, kColumns);
  for (const std::string& command : finding.commands) {
    text.append(indent).append("    ").append(command).append("\n");
  }
  return text;
}

Json FindingsJson(const HealthFindings& findings) {
  Json json = Json::Array();
  for (const HealthFinding& finding : findings) {
    json.Add({{"severity", SeverityName(finding.severity)},
              {"kind", finding.kind},
              {"text", finding.text},
              {"evidence", finding.evidence},
              {"advice", finding.advice},
              {"commands", finding.commands}});
  }
  return json;
}

const char* NameOrNull(const Model* model) {
  return model == nullptr ? nullptr : model->name;
}

Json ModelJson(const Model* model) {
  const char* const name = NameOrNull(model);
  return name == nullptr ? Json() : Json(name);
}

Json SensorJson(const Observation& seen, const std::string& name, const HealthFindings& findings) {
  Json json = Json::Object();
  if (!name.empty()) json["name"] = name;
  json["model"] = ModelJson(seen.model);
  json["decoded_as"] = ModelJson(seen.driven);
  json["listened_on"] = EndpointText(seen.address, seen.port);
  json["packets"] = seen.counts.packets.received;
  json["packets_decoded"] = seen.counts.packets.decoded;
  json["findings"] = FindingsJson(findings);
  return json;
}

/// "front, juniq at 0.0.0.0:2368"
std::string TitleText(const Observation& seen, const std::string& name) {
  const Model* const model = seen.model != nullptr ? seen.model : seen.driven;
  const std::string what = model != nullptr ? model->name : "sensor";
  return (name.empty() ? "" : name + ", ") + what + " at " + EndpointText(seen.address, seen.port);
}

std::string VerdictText(const DiagnosedExamination& all) {
  const std::size_t problems = all.Count(Severity::kProblem);
  const std::size_t notes = all.Count(Severity::kNote);
  const std::string found =
      problems == 0 ? "nothing wrong found" : orliq::cli::Count(problems, "problem") + " found";
  return found + (notes > 0 ? ", " + orliq::cli::Count(notes, "note") : "") +
         (all.interrupted ? " before it was interrupted" : "");
}

}  // namespace

std::size_t DiagnosedExamination::Count(Severity severity) const {
  const auto count = [severity](const HealthFindings& findings) {
    return std::count_if(findings.begin(), findings.end(),
                         [severity](const auto& finding) { return finding.severity == severity; });
  };
  auto sum = count(machine);
  for (const HealthFindings& findings : sensors) sum += count(findings);
  return static_cast<std::size_t>(sum);
}

ExitCode DiagnosedExamination::Code() const {
  const auto& seen = examination.sensors;
  const auto any = [&seen](auto what) { return std::any_of(seen.begin(), seen.end(), what); };
  if (any([](const Observation& one) { return !one.no_port.empty(); })) return ExitCode::kFileFault;
  if (interrupted) return ExitCode::kLosses;
  if (any([](const Observation& one) { return one.counts.packets.decoded == 0; })) {
    return ExitCode::kNoData;
  }
  return Count(Severity::kProblem) > 0 ? ExitCode::kLosses : ExitCode::kDone;
}

Report DiagnosedExamination::MakeReport(bool colours) const {
  Report report;
  Json json = Json::Array();
  std::string text = "Listened for " + Fixed(examination.seconds, 1) + " s\n";
  for (std::size_t i = 0; i < sensors.size(); ++i) {
    const Observation& seen = examination.sensors[i];
    json.Add(SensorJson(seen, names[i], sensors[i]));
    text += '\n' + TitleText(seen, names[i]) + '\n';
    for (const HealthFinding& finding : sensors[i]) text += FindingText(finding, colours);
  }
  text += "\nthis machine\n";
  for (const HealthFinding& finding : machine) text += FindingText(finding, colours);
  const std::size_t problems = Count(Severity::kProblem);
  const Severity worst = problems > 0 ? Severity::kProblem : Severity::kOk;
  text += '\n' + Coloured(worst, VerdictText(*this), colours) + '\n';
  report.Add("seconds", "", examination.seconds, "");
  report.Add("interrupted", "", interrupted, "");
  report.Add("packets_looked_at", "", examination.machine.seen.Looked(), "");
  report.Add("problems", "", problems, "");
  report.Add("notes", "", Count(Severity::kNote), "");
  report.Add("sensors", "", std::move(json), "");
  report.Add("machine", "", FindingsJson(machine), "");
  report.AddText(text);
  return report;
}

}  // namespace orliq::cli
