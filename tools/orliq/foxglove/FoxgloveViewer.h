// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "orliq/foxglove/FoxgloveRequest.h"
#include "orliq/web/WebServer.h"

namespace orliq::cli {

/// A message on its way to viewers, who share it.
struct FoxgloveMessage {
  std::uint64_t number = 0;  ///< of all that go to viewers, in order
  std::uint64_t time = 0;    ///< [ns] since 1970-01-01 UTC, when it was given out
  std::shared_ptr<const std::string> cdr;
};

/// What one viewer has subscribed to, and what waits for it: never more than a bounded number of messages
/// and texts, however slow it is and whatever it asks for.
///
/// Threads: belongs to its outlet, which has the lock.
class FoxgloveViewer {
 public:
  static constexpr std::size_t kTexts = 32;  // that wait for a viewer that does not take them

  /// Sends a text, or a complaint as one, unless too many wait already.
  void Tell(std::string text);
  void Tell(const FoxgloveStatus& status);

  /// Why not, if so: one subscription for a channel, and one of an id.
  std::optional<FoxgloveStatus> Subscribe(std::uint32_t id, std::uint32_t channel);
  std::optional<FoxgloveStatus> Unsubscribe(std::uint32_t id);

  /// Lets the message wait, if it is subscribed to the channel: at most `room` do, and the oldest one is left
  /// out for it. Whether it was taken; `left_out`, if one had to go, so that it is let go without the lock.
  bool Offer(std::uint32_t channel, const FoxgloveMessage& message, std::size_t room,
             std::shared_ptr<const std::string>& left_out);

  /// Texts first, then messages in the order in which they were given out; null: nothing waits.
  std::unique_ptr<WebMessage> Next();

  std::uint64_t Sent() const { return sent_; }
  std::uint64_t LeftOut() const { return left_out_; }

 private:
  struct Subscription {
    std::uint32_t id = 0;
    std::deque<FoxgloveMessage> waiting;
  };

  std::deque<std::string> texts_;
  std::map<std::uint32_t, Subscription> by_channel_;
  std::uint64_t sent_ = 0;
  std::uint64_t left_out_ = 0;
};

}  // namespace orliq::cli
