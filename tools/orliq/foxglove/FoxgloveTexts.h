// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "orliq/foxglove/FoxgloveRequest.h"
#include "orliq/ros/RosOutlet.h"

// What a server of the Foxglove WebSocket protocol says.
namespace orliq::cli {

/// Its subprotocol, version 1.
constexpr std::string_view kFoxgloveStream = "foxglove.websocket.v1";

/// Who serves. `session` is another one in each run, by which a viewer that comes again sees that its
/// subscriptions are gone.
std::string ServerInfoText(const std::string& session);

/// All topics as channels.
std::string AdvertiseText(const std::vector<RosTopic>& topics);

/// The number of a topic's channel: they begin at 1.
std::uint32_t ChannelOf(std::size_t topic);

std::string StatusText(const FoxgloveStatus& status);

/// What stands before the message in a frame of data; `time` [ns] since 1970-01-01 UTC.
std::string MessageHead(std::uint32_t subscription, std::uint64_t time);

}  // namespace orliq::cli
