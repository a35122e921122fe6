// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orliq/verbs/view/FrameMessage.h"
#include "orliq/verbs/view/ViewCommand.h"
#include "orliq/web/WebServer.h"

namespace orliq::cli {

/// Others than pages that see what is shown.
class ViewGuests {
 public:
  ViewGuests() = default;
  virtual ~ViewGuests() = default;
  ViewGuests(const ViewGuests&) = delete;
  ViewGuests& operator=(const ViewGuests&) = delete;

  /// On the thread that shows it, which goes on at once.
  virtual void Show(const TakenCloud& cloud) = 0;

  /// Whether one is there; from any thread.
  virtual bool Any() const = 0;
};

/// Between what there is to see and the pages that show it: keeps the latest of everything, and for each
/// page what it has got. A page that is slow gets the newest frame when it has shown the one before.
///
/// Threads: what is shown comes from any thread and is put in place without waiting for a page; frames
/// become messages on the server's thread, and only when a page can take one.
class ViewHub : public WebHandler {
 public:
  /// `hello` is what each page is told first.
  explicit ViewHub(std::string hello);

  /// Null: none. To be called while nothing is shown; they outlive their use here.
  void SetGuests(ViewGuests* guests) { guests_ = guests; }

  /// Whose Wake is called when there is something new; null: nobody's. It outlives its use here.
  void SetServer(WebServer* server);

  /// Called on the server's thread with what a page asks of the player of a capture. The one before is not
  /// called any more when it returns.
  void SetPlayer(std::function<void(const PlayerCommand&)> player);

  /// `entry` of a capture; negative: live.
  void Show(TakenCloud cloud, int entry);
  void TellPlayer(std::string text) { Tell(kPlayer, std::move(text)); }
  void TellLedger(std::string text) { Tell(kLedger, std::move(text)); }
  void TellEnd(std::string text) { Tell(kEnd, std::move(text)); }
  void TellImu(std::string text);

  /// Of all pages together.
  struct Sums {
    std::uint64_t frames = 0;   ///< that came to be shown
    std::uint64_t sent = 0;     ///< to pages, each for itself
    std::uint64_t skipped = 0;  ///< not given to a page that was there, as it was slow
    std::size_t pages = 0;      ///< open now
    std::size_t most_pages = 0;
  };
  Sums Read() const;

  /// Whether a page or a guest is there.
  bool Watched() const { return Read().pages > 0 || (guests_ != nullptr && guests_->Any()); }

  void Join(Client client) override;
  void Leave(Client client) override;
  bool Take(Client client, std::string_view text) override;
  std::unique_ptr<WebMessage> Next(Client client) override;

 private:
  /// Kinds of text of which only the latest counts.
  enum Topic : std::size_t { kHello, kPlayer, kLedger, kEnd, kTopics };
  static constexpr std::uint64_t kUnderWay = 2;  // frames sent and not yet shown
  static constexpr std::size_t kImuTexts = 20;   // 2 s of them wait for a slow page

  struct LatestText {
    std::shared_ptr<const std::string> text;
    std::uint64_t version = 0;
  };
  struct Page {
    std::uint64_t told[kTopics] = {};
    std::uint64_t imu = 0;     // the next one that is told, by number
    std::uint64_t joined = 0;  // frames before it
    std::uint64_t frame = 0;   // the latest that was sent
    std::uint64_t sent = 0;
    std::deque<std::uint64_t> under_way;  // frames
  };

  void Tell(Topic topic, std::string text);
  void Wake();
  std::shared_ptr<const std::string> NextText(Page& page);
  std::uint64_t Skipped(const Page& page) const;
  std::unique_ptr<WebMessage> NextFrame(const ShownFrame& frame, std::uint64_t skipped);

  ViewGuests* guests_ = nullptr;
  std::mutex
      player_mutex_;  // held while the player is called, which tells this hub: taken before mutex_
  std::function<void(const PlayerCommand&)> player_;  // guarded by player_mutex_
  mutable std::mutex mutex_;
  WebServer* server_ = nullptr;  // guarded by mutex_, as what follows
  LatestText texts_[kTopics];
  std::deque<std::shared_ptr<const std::string>> imu_;  // the latest ones
  std::uint64_t imu_end_ = 0;                           // number of the one behind the last
  std::optional<ShownFrame> latest_;
  std::map<Client, Page> pages_;
  Sums sums_;
  std::uint64_t encoded_ = 0;            // whose arrays these are; of the server's thread
  std::shared_ptr<std::string> arrays_;  // likewise
};

}  // namespace orliq::cli
