// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/bridge/BridgeList.h"

#include <chrono>
#include <map>
#include <string>
#include <string_view>

#include "orliq/dds/DdsOutlet.h"
#include "orliq/ros/RosMessages.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/PlainText.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/bridge/BridgeStatus.h"

namespace orliq::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kUsual = 2.5;  // [s] each bridge tells its states once a second
constexpr std::chrono::milliseconds kLook{50};
// Whoever is in the network can say anything: neither the memory nor the terminal is filled by it.
constexpr std::size_t kMostSensors = 10000;
constexpr std::size_t kMostOfName = 200;      // [bytes]
constexpr std::size_t kMostOfMessage = 2000;  // likewise

/// The latest state of each sensor, by computer, process and name.
using States = std::map<std::string, RosStatus>;

std::string ValueOf(const RosStatus& status, std::string_view key) {
  for (const auto& [name, value] : status.values) {
    if (name == key) return value;
  }
  return {};
}

/// Its beginning, in whole letters.
std::string Clip(const std::string& text, std::size_t most) {
  if (text.size() <= most) return text;
  while (most > 0 && (text[most] & 0xC0) == 0x80) --most;
  return text.substr(0, most) + "...";
}

/// What is shown of it.
RosStatus Clipped(const RosStatus& status) {
  RosStatus kept = {status.level,
                    Clip(status.name, kMostOfName),
                    Clip(status.message, kMostOfMessage),
                    Clip(status.hardware, kMostOfName),
                    {}};
  for (const char* const key : {"computer", "process", "topic", "source"}) {
    kept.values.emplace_back(key, Clip(ValueOf(status, key), kMostOfName));
  }
  return kept;
}

void Gather(const std::string& message, States& states) {
  for (const RosStatus& status : ParseDiagnostics(message)) {
    if (status.name.rfind(kBridgeState, 0) != 0) continue;
    const RosStatus kept = Clipped(status);
    const std::string key =
        ValueOf(kept, "computer") + '\n' + ValueOf(kept, "process") + '\n' + kept.name;
    if (states.size() < kMostSensors || states.count(key) > 0) states[key] = kept;
  }
}

States Listen(double seconds) {
  DdsInlet inlet(DdsSettingsOfRos(), {"/diagnostics", &kRosDiagnostics});
  const auto end = Clock::now() + std::chrono::duration<double>(seconds);
  States states;
  do {
    while (const auto message = inlet.Take()) Gather(*message, states);
  } while (Clock::now() < end && !WaitForInterrupt(kLook));
  return states;
}

std::string LevelText(RosLevel level) {
  switch (level) {
    case RosLevel::kOk:
      return "ok";
    case RosLevel::kWarn:
      return "warn";
    case RosLevel::kError:
      return "error";
    case RosLevel::kStale:
      break;
  }
  return "stale";
}

/// The first of its lines.
std::string FirstLine(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

void AddRow(const RosStatus& status, Json& list, Table& table) {
  const std::string level = LevelText(status.level);
  const std::string sensor = status.name.substr(std::string_view(kBridgeState).size());
  list.Add({{"sensor", sensor},
            {"model", status.hardware},
            {"computer", ValueOf(status, "computer")},
            {"process", ValueOf(status, "process")},
            {"topic", ValueOf(status, "topic")},
            {"source", ValueOf(status, "source")},
            {"state", level},
            {"message", status.message}});
  table.rows.push_back({PlainText(sensor), PlainText(status.hardware),
                        PlainText(ValueOf(status, "computer")),
                        PlainText(ValueOf(status, "process")), PlainText(ValueOf(status, "topic")),
                        level, PlainText(FirstLine(status.message))});
}

}  // namespace

ExitCode ListBridges(std::optional<double> seconds, Console& console) {
  const States states = Listen(seconds.value_or(kUsual));
  if (states.empty()) {
    throw Failure(ExitCode::kNoData,
                  "no orliq bridge is heard in domain " +
                      std::to_string(DdsSettingsOfRos().domain) +
                      ": check ROS_DOMAIN_ID, ROS_LOCALHOST_ONLY and CYCLONEDDS_URI on both sides");
  }
  Table table = {"Sensors",
                 {"sensor", "model", "computer", "process", "topic", "state", ""},
                 {false, false, false, true, false, false, false},
                 {}};
  Json list = Json::Array();
  for (const auto& [key, status] : states) AddRow(status, list, table);
  Report report;
  report.Add("sensors", std::move(list), std::move(table));
  console.Print(report);
  return ExitCode::kDone;
}

}  // namespace orliq::cli
