// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "orliq/capture/SurveyText.h"
#include "orliq/verbs/Silence.h"
#include "orliq/verbs/doctor/Diagnosis.h"
#include "orliq/verbs/live/SensorRemarks.h"
#include "orliq/verbs/live/SensorRows.h"

namespace orliq::cli {
namespace {

constexpr double kStall = 1.0;                // [s] without a packet: many packets of every model
constexpr std::uint64_t kForeignShare = 100;  // one refused packet of so many is a problem

/// The busiest flow of the plain socket that counts; null when there is none.
const Flow* Busiest(const Observation& sensor) {
  const Flow* busiest = nullptr;
  for (const Flow& flow : sensor.flows) {
    if (!sensor.source.empty() && DottedAddress(flow.source) != sensor.source) continue;
    if (busiest == nullptr || flow.packets > busiest->packets) busiest = &flow;
  }
  return busiest;
}

std::string BytesText(const Model& model) {
  std::string text = std::to_string(model.packet_bytes) + " bytes";
  if (model.identifier_bytes == 0) return text;
  return text + " and begin " + HexBytes(model.identifier.data(), model.identifier_bytes);
}

/// How the packets of a flow look.
std::string LooksText(const Flow& flow) {
  const auto size = std::max_element(flow.sizes.begin(), flow.sizes.end(),
                                     [](auto& a, auto& b) { return a.second < b.second; });
  return "most have " + std::to_string(size->first) + " bytes, the first begins " +
         HexBytes(flow.first_bytes.data(), flow.first_bytes.size());
}

/// How what came looks beside the packets of the model; by the driver alone when `flow` is null.
std::string BesideText(const Case& subject, const Flow* flow, const Model& model) {
  const std::size_t last = subject.Packets().last_refused_length;
  return (flow != nullptr ? LooksText(*flow) : "the last had " + std::to_string(last) + " bytes") +
         "; those of " + model.name + " have " + BytesText(model);
}

/// Nothing that came is of the model that the user named.
HealthFinding WrongModel(const Case& subject) {
  const Model& model = *subject.sensor.driven;
  const Flow* const flow = Busiest(subject.sensor);
  const std::string fits =
      flow != nullptr ? FitText(*flow) : ModelsOfLength(subject.Packets().last_refused_length);
  const std::string looks = BesideText(subject, flow, model);
  if (fits.empty() || fits == "none") {
    return {Severity::kProblem,
            "unknown_packets",
            "packets come, but none is of " + std::string(model.name) + ", nor of any other model",
            looks,
            "Check that the sensor, and nothing else, sends to this port.",
            {}};
  }
  const Model* const likely = flow != nullptr ? LikelyModel(*flow) : nullptr;
  const std::string really = likely != nullptr ? likely->name : fits;
  return {Severity::kProblem,
          "wrong_model",
          "the packets are of " + really + ", not of " + model.name,
          looks,
          "Use " + subject.Setting("model", really) + ", or check " +
              subject.remarks.Setting("port") + " and where the " + model.name + " sends to.",
          {}};
}

/// Models that share length and identifier differ in what their packets hold.
void AddUnlike(const Case& subject, HealthFindings& findings) {
  const Model& model = *subject.sensor.driven;
  const Flow* const flow = Busiest(subject.sensor);
  if (flow == nullptr || flow->fits[ModelIndex(model)] == 0) return;
  const Likely likely = flow->hints.FindLike(model);
  if (likely.model == nullptr || likely.model == &model) return;
  findings.push_back({Severity::kProblem,
                      "wrong_model",
                      std::string("the packets look like those of ") + likely.model->name +
                          ", not of " + model.name,
                      "both have " + BytesText(model) + "; here: " + likely.why,
                      "It is no proof: see what is written on the sensor, or try " +
                          subject.Setting("model", likely.model->name) + '.',
                      {}});
}

void AddForeign(const Case& subject, HealthFindings& findings) {
  const auto& packets = subject.Packets();
  const std::uint64_t refused = packets.refused_length + packets.refused_identifier;
  if (refused == 0) return;
  const bool many = kForeignShare * refused >= packets.received;
  findings.push_back(
      {many ? Severity::kProblem : Severity::kNote,
       "foreign_packets",
       "other packets than those of " + std::string(subject.sensor.driven->name) + " come too",
       Grouped(refused) + " of " + Grouped(packets.received) + " were refused (" +
           ShareText(refused, packets.received) + "): " + Grouped(packets.refused_length) +
           " for their length, " + Grouped(packets.refused_identifier) + " for how they begin",
       "Damaged packets, or another sender: orliq record keeps them, and orliq info tells who sent "
       "them.",
       {}});
}

void AddSenders(const Case& subject, HealthFindings& findings) {
  const auto& packets = subject.Packets();
  if (packets.of_other_senders == 0 || !subject.sensor.source.empty()) return;
  findings.push_back({Severity::kProblem,
                      "mixed_senders",
                      "more than one sender sends to this port",
                      Count(packets.of_other_senders, "packet") + " of " +
                          Grouped(packets.received) + " are not of the first, " +
                          SenderText(packets.first_sender),
                      MixedSendersText(packets, subject.remarks) + '.',
                      {}});
}

HealthFinding Stall(const Case& subject, const std::string& text, std::uint64_t packets) {
  return {Severity::kProblem,
          "stalled",
          text,
          Count(packets, "packet") + " until then",
          Rivals(subject.sensor).empty()
              ? "Check the sensor's power and cable."
              : "End the other program that has the port: it may get them now.",
          {}};
}

void AddStall(const Case& subject, HealthFindings& findings) {
  const double age = subject.Packets().last_packet_age_s;
  if (age < kStall) return;
  findings.push_back(Stall(subject, "packets came, but none in the last " + Fixed(age, 1) + " s",
                           subject.Packets().received));
}

/// "7,680 juniq packets, 3,840 packets/s, from 192.168.1.200:2368"
std::string DecodedText(const Case& subject) {
  const std::uint64_t decoded = subject.Packets().decoded;
  const double rate = subject.Rate(decoded);
  return Count(decoded, std::string(subject.sensor.driven->name) + " packet") + ", " +
         (rate > 0.0 ? Rounded(rate) + " packets/s, " : "") + "from " +
         SenderText(subject.Packets().first_sender);
}

/// Without --model the packets tell it, or they do not.
void AddFound(const Case& subject, HealthFindings& findings) {
  const Observation& sensor = subject.sensor;
  if (sensor.model != nullptr || subject.Counted() == 0) return;
  if (sensor.driven != nullptr) {
    findings.push_back({Severity::kOk, "model",
                        "the packets are of " + std::string(sensor.driven->name) + ": " +
                            subject.Setting("model", sensor.driven->name)});
    return;
  }
  const Flow* const flow = Busiest(sensor);
  const std::string fits = flow == nullptr ? "none" : FitText(*flow);
  findings.push_back({Severity::kProblem,
                      fits == "none" ? "unknown_packets" : "model_unknown",
                      fits == "none" ? "packets come, but they are of none of the models"
                                     : "the packets may be of " + fits,
                      flow == nullptr ? "" : LooksText(*flow),
                      fits == "none"
                          ? "Check that the sensor, and nothing else, sends to this port."
                          : "Name the model with " + subject.remarks.Setting("model") + '.',
                      {}});
}

}  // namespace

void DiagnosePackets(const Case& subject, HealthFindings& findings) {
  AddFound(subject, findings);
  const auto& packets = subject.Packets();
  if (subject.sensor.driven == nullptr || subject.Counted() == 0) return;
  if (packets.decoded == 0 && packets.received > 0) {
    findings.push_back(WrongModel(subject));
    return;
  }
  if (packets.received == 0) {
    if (subject.sensor.seconds < kStall) return;  // interrupted
    findings.push_back(
        Stall(subject, "packets came, but only at the beginning", subject.Counted()));
    return;
  }
  findings.push_back({Severity::kOk, "packets", DecodedText(subject)});
  AddUnlike(subject, findings);
  AddForeign(subject, findings);
  AddSenders(subject, findings);
  AddStall(subject, findings);
}

}  // namespace orliq::cli
