// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <netinet/in.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "simulator/sending/ParamServerOptions.h"
#include "simulator/sending/ParamWire.h"

namespace orliq::sim {

/// A reply and who asked for it.
struct SentReply {
  sockaddr_in to = {};
  std::vector<std::uint8_t> bytes;
  ParamPiece piece;  ///< of the image, as long as nothing is damaged
};

/// The way of the replies out of the sensor: what is lost, damaged, late, repeated or swapped. Not
/// thread safe. Holds 257 replies at most.
class ReplyRoad {
 public:
  using Clock = std::chrono::steady_clock;
  using Replies = std::vector<SentReply>;

  explicit ReplyRoad(const ParamServerOptions& options)
      : options_(options), faults_(options.rates, options.seed) {}

  /// Takes the reply to the next valid request; appends to `leaving` what leaves now.
  void Pass(SentReply reply, Clock::time_point now, Replies& leaving);

  /// Appends the delayed replies that leave now, with what they overtake.
  void Leave(Clock::time_point now, Replies& leaving);

  /// When the next delayed reply leaves.
  std::optional<Clock::time_point> NextMoment() const;

  /// What waits is lost, a silence is over.
  void Restart();

  const ReplyFaultCounts& Counts() const { return counts_; }

 private:
  struct Delayed {
    Clock::time_point due;
    SentReply reply;
  };

  void Delay(SentReply reply, Clock::time_point now);
  void Overtake(SentReply reply, Replies& leaving);

  ParamServerOptions options_;
  ReplyFaults faults_;
  std::deque<Delayed> waiting_;       // in the order in which they are due
  std::optional<SentReply> swapped_;  // waits for one that overtakes it
  Clock::time_point silent_until_{};
  ReplyFaultCounts counts_;
};

}  // namespace orliq::sim
