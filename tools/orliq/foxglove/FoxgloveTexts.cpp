// SPDX-License-Identifier: Apache-2.0
#include "orliq/foxglove/FoxgloveTexts.h"

#include <nlohmann/json.hpp>

#include "multi_driver/Version.h"

namespace orliq::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr char kMessageData = 1;  // opcode

/// Text of a file or a viewer may hold any bytes: those that are no UTF-8 are replaced.
std::string Dump(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void AddNumber(std::string& bytes, std::uint64_t number, unsigned width) {
  for (unsigned i = 0; i < width; ++i) bytes += static_cast<char>(number >> 8 * i & 0xFFU);
}

}  // namespace

std::string ServerInfoText(const std::string& session) {
  return Dump({{"op", "serverInfo"},
               {"name", std::string("orliq ") + ORLIQ_VERSION},
               {"capabilities", Json::array()},
               {"sessionId", session}});
}

std::string AdvertiseText(const std::vector<RosTopic>& topics) {
  Json json = {{"op", "advertise"}};
  Json& channels = json["channels"] = Json::array();
  for (const RosTopic& topic : topics) {
    channels.push_back({{"id", ChannelOf(channels.size())},
                        {"topic", topic.name},
                        {"encoding", "cdr"},
                        {"schemaName", topic.type->name},
                        {"schema", topic.type->definition},
                        {"schemaEncoding", "ros2msg"}});
  }
  return Dump(json);
}

std::uint32_t ChannelOf(std::size_t topic) {
  return static_cast<std::uint32_t>(topic + 1);
}

std::string StatusText(const FoxgloveStatus& status) {
  return Dump(
      {{"op", "status"}, {"level", static_cast<int>(status.level)}, {"message", status.message}});
}

std::string MessageHead(std::uint32_t subscription, std::uint64_t time) {
  std::string head(1, kMessageData);
  AddNumber(head, subscription, sizeof(subscription));
  AddNumber(head, time, sizeof(time));
  return head;
}

}  // namespace orliq::cli
