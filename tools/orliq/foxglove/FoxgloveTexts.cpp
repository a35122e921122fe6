// SPDX-License-Identifier: Apache-2.0
#include "orliq/foxglove/FoxgloveTexts.h"

#include "multi_driver/Version.h"
#include "orliq/terminal/Json.h"

namespace orliq::cli {
namespace {

constexpr char kMessageData = 1;  // opcode

void AddNumber(std::string& bytes, std::uint64_t number, unsigned width) {
  for (unsigned i = 0; i < width; ++i) bytes += static_cast<char>(number >> 8 * i & 0xFFU);
}

}  // namespace

std::string ServerInfoText(const std::string& session) {
  return Json({{"op", "serverInfo"},
               {"name", std::string("orliq ") + ORLIQ_VERSION},
               {"capabilities", Json::Array()},
               {"sessionId", session}})
      .Text();
}

std::string AdvertiseText(const std::vector<RosTopic>& topics) {
  Json json = {{"op", "advertise"}};
  Json& channels = json["channels"] = Json::Array();
  for (const RosTopic& topic : topics) {
    channels.Add({{"id", ChannelOf(channels.Size())},
                  {"topic", topic.name},
                  {"encoding", "cdr"},
                  {"schemaName", topic.type->name},
                  {"schema", topic.type->definition},
                  {"schemaEncoding", "ros2msg"}});
  }
  return json.Text();
}

std::uint32_t ChannelOf(std::size_t topic) {
  return static_cast<std::uint32_t>(topic + 1);
}

std::string StatusText(const FoxgloveStatus& status) {
  return Json({{"op", "status"},
               {"level", static_cast<int>(status.level)},
               {"message", status.message}})
      .Text();
}

std::string MessageHead(std::uint32_t subscription, std::uint64_t time) {
  std::string head(1, kMessageData);
  AddNumber(head, subscription, sizeof(subscription));
  AddNumber(head, time, sizeof(time));
  return head;
}

}  // namespace orliq::cli
