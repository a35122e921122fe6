// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "orliq/foxglove/FoxgloveViewer.h"
#include "orliq/ros/RosOutlet.h"
#include "orliq/web/WebServer.h"

namespace orliq::cli {

/// Where viewers connect, and which.
struct FoxgloveSettings {
  std::string address = "127.0.0.1";  ///< IPv4 address to listen on
  std::uint16_t port = 0;             ///< 0: any that is free
  std::vector<std::string> origins;   ///< of pages that may connect too; "*": all
  /// The last message of each topic is for viewers that subscribe later too: of sources that rest. Else only
  /// that of a latched topic is.
  bool keeps_last = false;
};

/// Topics of ROS 2 over the Foxglove WebSocket protocol, to viewers that connect by themselves. A slow viewer
/// gets the newest cloud of each topic, and of the other messages as many as have room; what it does not get
/// is counted, and costs neither the publisher nor another viewer anything.
///
/// Threads: Publish as of RosOutlet, what a WebHandler does on the server's thread, the rest from any.
class FoxgloveOutlet : public RosOutlet, public WebHandler {
 public:
  explicit FoxgloveOutlet(FoxgloveSettings settings) : settings_(std::move(settings)) {}
  ~FoxgloveOutlet() override;

  std::size_t AddTopic(const RosTopic& topic) override;
  void Publish(std::size_t topic, const RosTime& stamp,
               std::shared_ptr<const std::string> cdr) override;

  /// Lets viewers in; behind the last AddTopic. "ws://127.0.0.1:8765", for people. Throws Failure when the port
  /// cannot be had, and in a program that was built without a web server.
  std::string Listen();

  /// Of all viewers together.
  struct Sums {
    std::uint64_t sent = 0;      ///< messages, to each viewer for itself
    std::uint64_t left_out = 0;  ///< of what a viewer had subscribed to, as it was slow
    std::size_t viewers = 0;     ///< now
    std::size_t most_viewers = 0;
  };
  Sums Read() const;

  void Join(Client client) override;
  void Leave(Client client) override;
  bool Take(Client client, std::string_view text) override;
  bool TakeBytes(Client client, std::string_view bytes) override;
  std::unique_ptr<WebMessage> Next(Client client) override;

 private:
  struct Channel {
    RosTopic topic;
    std::size_t room = 0;                               // for messages that wait for one viewer
    std::shared_ptr<const std::string> last = nullptr;  // for those to come; null: none
  };

  bool Keeps(const RosTopic& topic) const { return settings_.keeps_last || topic.latched; }
  FoxgloveMessage Number(std::shared_ptr<const std::string> cdr);
  void Subscribe(FoxgloveViewer& viewer, const FoxgloveRequest::Subscription& wanted);

  const FoxgloveSettings settings_;
  mutable std::mutex mutex_;
  std::string greeting_[2];  // who serves, and what; guarded by mutex_, as what follows
  std::vector<Channel> channels_;
  std::map<Client, FoxgloveViewer> viewers_;
  std::uint64_t numbers_ = 0;  // given to messages
  Sums sums_;                  // of viewers that have left, but for most_viewers
  std::unique_ptr<WebServer> server_;
};

}  // namespace orliq::cli
