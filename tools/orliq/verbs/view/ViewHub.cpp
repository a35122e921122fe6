// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/view/ViewHub.h"

#include <algorithm>
#include <utility>

namespace orliq::cli {
namespace {

std::unique_ptr<WebMessage> TextMessage(const std::string& text) {
  auto message = std::make_unique<WebMessage>();
  message->head = text;
  return message;
}

}  // namespace

ViewHub::ViewHub(std::string hello) {
  texts_[kHello] = {std::make_shared<const std::string>(std::move(hello)), 1};
}

void ViewHub::SetServer(WebServer* server) {
  const std::lock_guard lock(mutex_);
  server_ = server;
}

void ViewHub::SetPlayer(std::function<void(const PlayerCommand&)> player) {
  const std::lock_guard lock(player_mutex_);
  player_ = std::move(player);
}

void ViewHub::Show(TakenCloud cloud, int entry) {
  if (guests_ != nullptr) guests_->Show(cloud);
  std::optional<ShownFrame> before;  // is let go without the lock: it may be large
  const std::lock_guard lock(mutex_);
  before.swap(latest_);
  latest_ = ShownFrame{++sums_.frames, std::move(cloud), entry, ShownFrame::Clock::now()};
  Wake();
}

void ViewHub::Tell(Topic topic, std::string text) {
  auto shared = std::make_shared<const std::string>(std::move(text));
  const std::lock_guard lock(mutex_);
  texts_[topic] = {std::move(shared), texts_[topic].version + 1};
  Wake();
}

void ViewHub::TellImu(std::string text) {
  auto shared = std::make_shared<const std::string>(std::move(text));
  const std::lock_guard lock(mutex_);
  imu_.push_back(std::move(shared));
  ++imu_end_;
  if (imu_.size() > kImuTexts) imu_.pop_front();
  Wake();
}

/// With mutex_ held. Without pages nobody waits for anything.
void ViewHub::Wake() {
  if (server_ != nullptr && !pages_.empty()) server_->Wake();
}

ViewHub::Sums ViewHub::Read() const {
  const std::lock_guard lock(mutex_);
  Sums sums = sums_;
  sums.pages = pages_.size();
  for (const auto& [client, page] : pages_) {
    sums.sent += page.sent;
    sums.skipped += Skipped(page);
  }
  return sums;
}

void ViewHub::Join(Client client) {
  const std::lock_guard lock(mutex_);
  Page& page = pages_[client];
  page.imu = imu_end_;
  page.joined = page.frame = latest_ ? latest_->number - 1 : 0;  // the latest frame is for it too
  sums_.most_pages = std::max(sums_.most_pages, pages_.size());
}

void ViewHub::Leave(Client client) {
  const std::lock_guard lock(mutex_);
  const Page& page = pages_[client];
  sums_.sent += page.sent;
  sums_.skipped += Skipped(page);
  pages_.erase(client);
}

bool ViewHub::Take(Client client, std::string_view text) {
  const auto command = ParseCommand(text);
  if (!command) return false;
  if (const auto* const shown = std::get_if<FrameShown>(&*command)) {
    const std::lock_guard lock(mutex_);
    auto& under_way = pages_[client].under_way;
    while (!under_way.empty() && under_way.front() <= shown->frame) under_way.pop_front();
    return true;
  }
  const std::lock_guard lock(player_mutex_);
  if (player_) player_(std::get<PlayerCommand>(*command));
  return true;
}

std::unique_ptr<WebMessage> ViewHub::Next(Client client) {
  std::unique_lock lock(mutex_);
  Page& page = pages_[client];
  if (const auto text = NextText(page)) return TextMessage(*text);
  const bool waits = latest_ && latest_->number > page.frame;
  if (!waits || page.under_way.size() == kUnderWay) return nullptr;
  const ShownFrame frame = *latest_;
  page.frame = frame.number;
  ++page.sent;
  page.under_way.push_back(frame.number);
  const std::uint64_t skipped = Skipped(page);
  lock.unlock();
  return NextFrame(frame, skipped);
}

/// With mutex_ held; null when it has all of them.
std::shared_ptr<const std::string> ViewHub::NextText(Page& page) {
  for (std::size_t topic = 0; topic < kTopics; ++topic) {
    const LatestText& latest = texts_[topic];
    if (std::exchange(page.told[topic], latest.version) < latest.version) return latest.text;
  }
  const std::uint64_t oldest = imu_end_ - imu_.size();
  page.imu = std::max(page.imu, oldest);
  return page.imu < imu_end_ ? imu_[page.imu++ - oldest] : nullptr;
}

/// With mutex_ held. The latest frame may still be given to it; those between that and what it got are gone.
std::uint64_t ViewHub::Skipped(const Page& page) const {
  const std::uint64_t gone = latest_ ? latest_->number - 1 : 0;
  return std::max(page.frame, gone) - page.joined - page.sent;
}

/// Pages that want the same frame share its arrays; the next frame's take their memory when all of them
/// have been sent.
std::unique_ptr<WebMessage> ViewHub::NextFrame(const ShownFrame& frame, std::uint64_t skipped) {
  if (encoded_ != frame.number) {
    if (arrays_.use_count() != 1) arrays_ = std::make_shared<std::string>();
    FillArrays(frame.cloud.view, *arrays_);
    encoded_ = frame.number;
  }
  auto message = std::make_unique<WebMessage>();
  message->binary = true;
  message->head = FrameHead(frame, skipped);
  message->body = arrays_;
  return message;
}

}  // namespace orliq::cli
