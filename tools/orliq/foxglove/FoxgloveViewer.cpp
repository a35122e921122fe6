// SPDX-License-Identifier: Apache-2.0
#include "orliq/foxglove/FoxgloveViewer.h"

#include <algorithm>
#include <utility>

#include "orliq/foxglove/FoxgloveTexts.h"

namespace orliq::cli {

void FoxgloveViewer::Tell(std::string text) {
  if (texts_.size() < kTexts) texts_.push_back(std::move(text));
}

/// Nothing is written that is not sent: of one request there may be thousands.
void FoxgloveViewer::Tell(const FoxgloveStatus& status) {
  if (texts_.size() < kTexts) Tell(StatusText(status));
}

std::optional<FoxgloveStatus> FoxgloveViewer::Subscribe(std::uint32_t id, std::uint32_t channel) {
  const bool used = std::any_of(by_channel_.begin(), by_channel_.end(),
                                [id](const auto& entry) { return entry.second.id == id; });
  if (used) {
    return FoxgloveStatus{FoxgloveLevel::kError, "subscription id " + std::to_string(id) +
                                                     " is in use; ignoring the subscription"};
  }
  if (!by_channel_.try_emplace(channel, Subscription{id, {}}).second) {
    return FoxgloveStatus{FoxgloveLevel::kWarning, "channel " + std::to_string(channel) +
                                                       " is subscribed to already; ignoring it"};
  }
  return std::nullopt;
}

std::optional<FoxgloveStatus> FoxgloveViewer::Unsubscribe(std::uint32_t id) {
  for (auto entry = by_channel_.begin(); entry != by_channel_.end(); ++entry) {
    if (entry->second.id != id) continue;
    by_channel_.erase(entry);
    return std::nullopt;
  }
  return FoxgloveStatus{FoxgloveLevel::kWarning,
                        "there is no subscription " + std::to_string(id) + "; ignoring its end"};
}

bool FoxgloveViewer::Offer(std::uint32_t channel, const FoxgloveMessage& message, std::size_t room,
                           std::shared_ptr<const std::string>& left_out) {
  const auto found = by_channel_.find(channel);
  if (found == by_channel_.end()) return false;
  auto& waiting = found->second.waiting;
  if (waiting.size() >= room) {
    left_out = std::move(waiting.front().cdr);
    waiting.pop_front();
    ++left_out_;
  }
  waiting.push_back(message);
  return true;
}

std::unique_ptr<WebMessage> FoxgloveViewer::Next() {
  auto next = std::make_unique<WebMessage>();
  if (!texts_.empty()) {
    next->head = std::move(texts_.front());
    texts_.pop_front();
    return next;
  }
  Subscription* oldest = nullptr;
  for (auto& [channel, subscription] : by_channel_) {
    if (subscription.waiting.empty()) continue;
    const std::uint64_t number = subscription.waiting.front().number;
    if (oldest == nullptr || number < oldest->waiting.front().number) oldest = &subscription;
  }
  if (oldest == nullptr) return nullptr;
  FoxgloveMessage& message = oldest->waiting.front();
  next->binary = true;
  next->head = MessageHead(oldest->id, message.time);
  next->body = std::move(message.cdr);
  oldest->waiting.pop_front();
  ++sent_;
  return next;
}

}  // namespace orliq::cli
