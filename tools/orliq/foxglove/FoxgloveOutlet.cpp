// SPDX-License-Identifier: Apache-2.0
#include "orliq/foxglove/FoxgloveOutlet.h"

#include <algorithm>
#include <utility>

#include "orliq/foxglove/FoxgloveTexts.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kLongestRequest = 64UL * 1024;  // [bytes] subscriptions of a thousand topics

/// How many messages wait for one viewer that is slow: of what stands for itself the newest, of samples some
/// seconds, of states as many as a reader of DDS gets.
std::size_t RoomFor(const RosTopic& topic) {
  constexpr std::size_t kSamples = 1000;
  constexpr std::size_t kStates = 10;
  if (topic.latched || topic.type == &kRosPointCloud2) return 1;
  return topic.type == &kRosImu ? kSamples : kStates;
}

}  // namespace

FoxgloveOutlet::~FoxgloveOutlet() {
  std::unique_ptr<WebServer> server;
  {
    const std::lock_guard lock(mutex_);
    server = std::move(server_);
  }
}

std::size_t FoxgloveOutlet::AddTopic(const RosTopic& topic) {
  const std::lock_guard lock(mutex_);
  channels_.push_back({topic, RoomFor(topic)});
  return channels_.size() - 1;
}

std::string FoxgloveOutlet::Listen() {
  WebSettings settings;
  settings.address = settings_.address;
  settings.port = settings_.port;
  // Elsewhere this machine may have any name, and a page under a stranger's has its Origin.
  settings.rules.any_name = !IsLoopback(settings_.address);
  settings.rules.local_pages = true;
  settings.rules.pages = settings_.origins;
  settings.stream = kFoxgloveStream;
  settings.path = "/";
  settings.longest = kLongestRequest;
  {
    const std::lock_guard lock(mutex_);
    std::vector<RosTopic> topics;
    for (const Channel& channel : channels_) topics.push_back(channel.topic);
    greeting_[0] = ServerInfoText(MakeToken());
    greeting_[1] = AdvertiseText(topics);
  }
  auto server = std::make_unique<WebServer>(std::move(settings), *this);
  const std::uint16_t port = server->Port();
  const std::lock_guard lock(mutex_);
  server_ = std::move(server);
  return "ws://" + HostOf(settings_.address) + ':' + std::to_string(port);
}

/// With mutex_ held.
FoxgloveMessage FoxgloveOutlet::Number(std::shared_ptr<const std::string> cdr) {
  return {++numbers_, RosTimeNow().Nanoseconds(), std::move(cdr)};
}

void FoxgloveOutlet::Publish(std::size_t topic, const RosTime& /*stamp*/,
                             std::shared_ptr<const std::string> cdr) {
  std::vector<std::shared_ptr<const std::string>>
      gone;  // let go without the lock: they may be large
  const std::lock_guard lock(mutex_);
  gone.reserve(viewers_.size() + 1);
  Channel& channel = channels_[topic];
  const FoxgloveMessage message = Number(cdr);
  bool wanted = false;
  for (auto& [client, viewer] : viewers_) {
    std::shared_ptr<const std::string>& left_out = gone.emplace_back();
    wanted = viewer.Offer(ChannelOf(topic), message, channel.room, left_out) || wanted;
  }
  if (Keeps(channel.topic)) gone.push_back(std::exchange(channel.last, std::move(cdr)));
  if (wanted && server_ != nullptr) server_->Wake();
}

FoxgloveOutlet::Sums FoxgloveOutlet::Read() const {
  const std::lock_guard lock(mutex_);
  Sums sums = sums_;
  sums.viewers = viewers_.size();
  for (const auto& [client, viewer] : viewers_) {
    sums.sent += viewer.Sent();
    sums.left_out += viewer.LeftOut();
  }
  return sums;
}

void FoxgloveOutlet::Join(Client client) {
  const std::lock_guard lock(mutex_);
  FoxgloveViewer& viewer = viewers_[client];
  for (const std::string& text : greeting_) viewer.Tell(text);
  sums_.most_viewers = std::max(sums_.most_viewers, viewers_.size());
}

void FoxgloveOutlet::Leave(Client client) {
  const std::lock_guard lock(mutex_);
  const FoxgloveViewer& viewer = viewers_[client];
  sums_.sent += viewer.Sent();
  sums_.left_out += viewer.LeftOut();
  viewers_.erase(client);
}

bool FoxgloveOutlet::Take(Client client, std::string_view text) {
  const FoxgloveRequest request = ParseFoxgloveRequest(text);
  const std::lock_guard lock(mutex_);
  FoxgloveViewer& viewer = viewers_[client];
  for (const FoxgloveStatus& complaint : request.complaints) viewer.Tell(complaint);
  for (const auto& wanted : request.subscribe) Subscribe(viewer, wanted);
  for (const std::uint32_t id : request.unsubscribe) {
    if (const auto status = viewer.Unsubscribe(id)) viewer.Tell(*status);
  }
  return true;
}

/// With mutex_ held.
void FoxgloveOutlet::Subscribe(FoxgloveViewer& viewer,
                               const FoxgloveRequest::Subscription& wanted) {
  const std::size_t topic = wanted.channel - std::size_t{ChannelOf(0)};
  if (topic >= channels_.size()) {
    const std::string channel = std::to_string(wanted.channel);
    return viewer.Tell({FoxgloveLevel::kWarning,
                        "there is no channel " + channel + "; ignoring the subscription"});
  }
  if (const auto status = viewer.Subscribe(wanted.id, wanted.channel)) {
    return viewer.Tell(*status);
  }
  const Channel& channel = channels_[topic];
  std::shared_ptr<const std::string> none;  // nothing waits yet
  if (channel.last) viewer.Offer(wanted.channel, Number(channel.last), channel.room, none);
}

/// The protocol has a viewer publish and call services so.
bool FoxgloveOutlet::TakeBytes(Client client, std::string_view /*bytes*/) {
  const std::lock_guard lock(mutex_);
  viewers_[client].Tell(
      {FoxgloveLevel::kError, "messages and calls are not offered here, as the capabilities say"});
  return true;
}

std::unique_ptr<WebMessage> FoxgloveOutlet::Next(Client client) {
  const std::lock_guard lock(mutex_);
  return viewers_[client].Next();
}

}  // namespace orliq::cli
