// SPDX-License-Identifier: Apache-2.0
#include "orliq/foxglove/FoxgloveRequest.h"

#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <utility>

namespace orliq::cli {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kMostOfOp = 40;  // [bytes] that are repeated of an unknown op

void Complain(FoxgloveRequest& request, std::string message) {
  request.complaints.push_back({FoxgloveLevel::kError, std::move(message)});
}

/// A number as the protocol carries it.
std::optional<std::uint32_t> Number(const Json& json) {
  if (!json.is_number_unsigned()) return std::nullopt;
  const auto number = json.get<std::uint64_t>();
  if (number > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(number);
}

std::optional<std::uint32_t> Number(const Json& json, const char* name) {
  if (!json.is_object()) return std::nullopt;
  const auto found = json.find(name);
  return found == json.end() ? std::nullopt : Number(*found);
}

/// The list of that name; null, with a complaint, when there is none.
const Json* ListOf(const Json& json, const char* name, FoxgloveRequest& request) {
  const auto found = json.find(name);
  if (found != json.end() && found->is_array()) return &*found;
  Complain(request, std::string(name) + " must be a list; ignoring the request");
  return nullptr;
}

void ReadSubscriptions(const Json& json, FoxgloveRequest& request) {
  const Json* const list = ListOf(json, "subscriptions", request);
  if (list == nullptr) return;
  bool sound = true;
  for (const Json& entry : *list) {
    const auto id = Number(entry, "id");
    const auto channel = Number(entry, "channelId");
    if (id && channel) request.subscribe.push_back({*id, *channel});
    sound = sound && id && channel;
  }
  if (sound) return;
  Complain(request,
           "a subscription needs id and channelId from 0 to 4294967295; ignoring what has not");
}

void ReadEnds(const Json& json, FoxgloveRequest& request) {
  const Json* const list = ListOf(json, "subscriptionIds", request);
  if (list == nullptr) return;
  bool sound = true;
  for (const Json& entry : *list) {
    const auto id = Number(entry);
    if (id) request.unsubscribe.push_back(*id);
    sound = sound && id;
  }
  if (!sound) Complain(request, "subscriptionIds are from 0 to 4294967295; ignoring what is not");
}

/// Of the protocol, but only for servers that say so in their capabilities, which this one does not.
bool NeedsCapability(const std::string& op) {
  static const std::set<std::string> ops = {"advertise",
                                            "unadvertise",
                                            "getParameters",
                                            "setParameters",
                                            "subscribeParameterUpdates",
                                            "unsubscribeParameterUpdates",
                                            "subscribeConnectionGraph",
                                            "unsubscribeConnectionGraph",
                                            "fetchAsset"};
  return ops.count(op) > 0;
}

/// Its beginning: a viewer need not get all that it has sent.
std::string Clip(const std::string& text) {
  return text.size() <= kMostOfOp ? text : text.substr(0, kMostOfOp) + "...";
}

}  // namespace

FoxgloveRequest ParseFoxgloveRequest(std::string_view text) {
  FoxgloveRequest request;
  const Json json = Json::parse(text, nullptr, false);
  const auto found = json.is_object() ? json.find("op") : json.end();
  if (!json.is_object() || found == json.end() || !found->is_string()) {
    Complain(request, "a request is a JSON object with an op");
    return request;
  }
  const auto& op = found->get_ref<const std::string&>();
  if (op == "subscribe") {
    ReadSubscriptions(json, request);
  } else if (op == "unsubscribe") {
    ReadEnds(json, request);
  } else if (NeedsCapability(op)) {
    Complain(request, op + " is not offered here, as the capabilities say");
  } else {
    Complain(request, "there is no op " + Clip(op));
  }
  return request;
}

}  // namespace orliq::cli
