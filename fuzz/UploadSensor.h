// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <future>
#include <vector>

#include "fuzz/Datagrams.h"
#include "param/UDPSelect.h"

namespace orliq::fuzz {

/// A sensor that is asked for its calibration, without a socket and without time: that passes only
/// where somebody waits. The replies of the input come one by one, whatever is asked.
///
/// Threads: one asks, another waits for the last reply.
class UploadSensor final : public lidar::UDPSelect {
 public:
  explicit UploadSensor(FuzzInput& input)
      : UDPSelect({0, "", 2400, "127.0.0.1", ""}), replies_(input, BlankReply()) {}

  /// Until the last reply has been taken.
  void WaitForTheLast() { last_.get_future().wait(); }

  bool SendData(const void* /*buffer*/, const int& /*length*/) override { return true; }

  int RecvData(void* buffer, const int& capacity) override {
    if (!late_) NextReply();
    late_ = !late_ && replies_.IsRemarked();
    if (over_ || late_) return Nothing();
    const std::size_t size = std::min(replies_.size(), static_cast<std::size_t>(capacity));
    ++(size == 0 ? empty : taken);
    std::copy_n(replies_.data(), size, static_cast<std::uint8_t*>(buffer));
    return size == 0 ? -1 : static_cast<int>(size);
  }

  inline static std::atomic<std::int64_t> now_ns{1};
  std::uint64_t taken = 0;  // replies that hold a byte; of the thread that asks, as the next
  std::uint64_t empty = 0;

  /// Of a piece of 1,000 bytes, of an image as large as it.
  static std::vector<std::uint8_t> BlankReply() {
    std::vector<std::uint8_t> reply(36 + 1000 + 3);
    std::copy_n("ZZZZ\x08\x04", 6, reply.begin());
    return reply;
  }

 private:
  void NextReply() {
    if (over_ || replies_.Next()) return;
    over_ = true;
    last_.set_value();
  }

  static int Nothing() {
    now_ns += 1'000'000L * kWaitMs;
    return 0;
  }

  Datagrams replies_;
  bool late_ = false;  // the reply comes when the request is repeated
  bool over_ = false;
  std::promise<void> last_;
};

}  // namespace orliq::fuzz
