// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/Silence.h"

#include <vector>

#include "orliq/capture/UdpRecord.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/network/SocketTable.h"
#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

std::string WhyNothingFitted(const Silence& silence, const Remarks& remarks) {
  const Model& model = *silence.model;
  const std::string name = model.name;
  const std::string came = Count(silence.datagrams, "datagram") + " arrived at " +
                           EndpointText(silence.address, silence.port) + ", but no packet of " +
                           name + " (" + std::to_string(model.packet_bytes) + " bytes): ";
  if (silence.wrong_length == 0) {
    return came + "they begin with other bytes. Check that only the sensor sends to this port";
  }
  const bool may_be_cut = silence.last_length >= kDriverBufferBytes;
  const std::string length = came + "the last had " + std::to_string(silence.last_length) +
                             (may_be_cut                 ? " bytes or more"
                              : silence.last_length == 1 ? " byte"
                                                         : " bytes");
  const std::string models = ModelsOfLength(silence.last_length);
  if (models.empty()) {
    return length + ", a length that no model sends. Check that the sensor, and nothing else, " +
           "sends to this port";
  }
  return length + ", as the packets of " + models + " have. Check " + remarks.Setting("model") +
         " and " + remarks.Setting("port");
}

std::string OtherSocketsText(std::uint16_t port) {
  const std::string name = std::to_string(port);
  const std::size_t others = ForeignSockets(port);
  if (others == 0) return "no other socket has port " + name + " bound now, so none took them";
  return "another socket has port " + name +
         " bound too and may take the packets: end its program (" + SocketOwnerHint(port) + ')';
}

}  // namespace

std::string WhyNothingArrived(const Silence& silence, const Remarks& remarks) {
  if (silence.model != nullptr && silence.datagrams > 0) return WhyNothingFitted(silence, remarks);
  if (silence.of_others > 0) {
    return "nothing arrived from " + silence.source + ", but " +
           Count(silence.of_others, "datagram") + " from " + silence.other +
           ": name that address with " + remarks.Setting("source") + ", or leave it away";
  }
  return "nothing arrived at " + EndpointText(silence.address, silence.port) + " within " +
         Fixed(silence.seconds, 1) + " s. Check that" + WhatToCheck(silence, remarks) + "\n  " +
         OtherSocketsText(silence.port) + "\norliq doctor --port " + std::to_string(silence.port) +
         " looks for the reason";
}

std::string WhatToCheck(const Silence& silence, const Remarks& remarks) {
  const std::string port = std::to_string(silence.port);
  const std::string target = silence.address.empty()
                                 ? "an address of this machine: " + LocalAddressText()
                                 : silence.address + "; without " + remarks.Setting("address") +
                                       " every address is listened on";
  return "\n  the sensor is on, and its cable and this machine's interface are up"
         "\n  it sends to UDP port " +
         port + " (" + remarks.Setting("port") + ") of " + target +
         "\n  no firewall keeps UDP port " + port + " from this machine";
}

std::string ModelsOfLength(std::size_t bytes) {
  std::vector<std::string> names;
  for (const Model& model : lidar::SensorModels()) {
    if (model.packet_bytes == bytes) names.emplace_back(model.name);
  }
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 == names.size() ? " or " : ", ";
    text += names[i];
  }
  return text;
}

}  // namespace orliq::cli
