// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/ReplyRoad.h"

#include <utility>

namespace orliq::sim {
namespace {

constexpr std::size_t kMostWaiting = 256;  // delayed replies, up to 2 kB each

}  // namespace

void ReplyRoad::Pass(SentReply reply, Clock::time_point now, Replies& leaving) {
  const ReplyFaults::Fate fate = faults_.Next();  // also in a silence: the choice is the seed's
  if (now < silent_until_) {
    ++counts_[ReplyFault::kSilence];
    return;
  }
  if (!fate.fault) return Overtake(std::move(reply), leaving);
  if (fate.fault == ReplyFault::kDelayed) return Delay(std::move(reply), now);
  if (fate.fault == ReplyFault::kSwapped && !swapped_) {
    swapped_ = std::move(reply);
    return;
  }
  if (fate.fault != ReplyFault::kSwapped) ++counts_[*fate.fault];  // a swap, once it has happened
  if (fate.fault == ReplyFault::kSilence) silent_until_ = now + options_.silence;
  if (fate.fault == ReplyFault::kSilence || fate.fault == ReplyFault::kLost) return;
  if (DamageParamReply(reply.bytes, fate)) reply.piece = {};
  if (fate.fault == ReplyFault::kDuplicated) leaving.push_back(reply);
  Overtake(std::move(reply), leaving);
}

void ReplyRoad::Leave(Clock::time_point now, Replies& leaving) {
  while (!waiting_.empty() && waiting_.front().due <= now) {
    Overtake(std::move(waiting_.front().reply), leaving);
    waiting_.pop_front();
  }
}

std::optional<ReplyRoad::Clock::time_point> ReplyRoad::NextMoment() const {
  if (waiting_.empty()) return std::nullopt;
  return waiting_.front().due;
}

void ReplyRoad::Restart() {
  waiting_.clear();
  swapped_.reset();
  silent_until_ = {};
}

void ReplyRoad::Delay(SentReply reply, Clock::time_point now) {
  const bool room = waiting_.size() < kMostWaiting;
  ++counts_[room ? ReplyFault::kDelayed : ReplyFault::kLost];
  if (room) waiting_.push_back({now + options_.delay, std::move(reply)});
}

void ReplyRoad::Overtake(SentReply reply, Replies& leaving) {
  leaving.push_back(std::move(reply));
  if (!swapped_) return;
  ++counts_[ReplyFault::kSwapped];
  leaving.push_back(std::move(*swapped_));
  swapped_.reset();
}

}  // namespace orliq::sim
