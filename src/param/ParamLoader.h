// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "common/Counter.h"
#include "common/Wire.h"
#include "common/Worker.h"
#include "multi_driver/UploadStatistics.h"
#include "param/ParamService.h"
#include "param/PieceMemory.h"
#include "param/UDPSelect.h"

namespace orliq::lidar {

/// What asks a sensor for a piece of its calibration.
struct ParamRequest {
  std::uint8_t header[4] = {0xA5, 0xA5, 0xA5, 0xA5};
  std::uint8_t last = 0;  ///< 1: the reply before said that this piece is the last
  Le<4> offset = {};      ///< [bytes] of the piece in the image
  Le<2> length = {};      ///< [bytes] asked for
  std::uint8_t checksum = 0;
};
static_assert(sizeof(ParamRequest) == 12 && alignof(ParamRequest) == 1);

/// Fetches the calibration of one sensor piece by piece, on a thread of its own: one request, one
/// reply. A request without a reply is sent again after some 100 ms, for as long as the thread runs;
/// afterwards the thread only empties the socket.
///
/// A reply does not tell which request it answers. So, before a new piece is asked for, whatever is
/// still waiting is thrown away; and when a request had to be repeated, further replies to it are
/// waited for, as long again as the first one took twice over, but at most a second.
///
/// A reply with a wrong marker counts as an answer: its piece is missing in the image, which then
/// never gets complete, or is wrong. A strict loader takes only what comes from the sensor's own
/// address and has the marker and exactly the bytes asked for, and repeats the request otherwise. It
/// also knows the pieces that it has, so a late copy of one is not taken for the next; it need not wait
/// for such copies, then. What it cannot tell apart are pieces of one number over and over.
///
/// Threads: StartLoad and StopLoad belong to the application's thread. The load thread alone uses the
/// service and the channel until IsFinished; UseTables belongs to the thread that decodes; Count may
/// be called from any. StartLoad after StopLoad goes on where the upload was.
/// Failure: nothing throws; what goes wrong on the wire is counted.
class ParamLoader {
 public:
  static constexpr int kLongestReply = 2048;  // [bytes]

  ParamLoader(const LidarType& type, std::shared_ptr<ParamService> service,
              std::shared_ptr<UDPSelect> channel, bool strict);

  /// Starts the thread, named `name`, unless it runs; `owner` is kept alive while it does. Before
  /// anything else the thread calls `begin`. Whether it runs.
  bool StartLoad(
      const std::string& name, const std::shared_ptr<void>& owner,
      const std::function<void()>& begin = [] {});

  /// Ends the thread within 250 ms.
  void StopLoad();

  /// Lets a thread go one of whose lines destroys the driver, through the sink.
  void DetachIfOwnThread() { worker_.DetachIfOwnThread(); }

  /// Whether all tables have arrived: then the service is the caller's to read.
  bool IsFinished() const { return finished_; }

  /// True once, when the tables have arrived: the decoder is to take them over. `decoded` packets went
  /// before.
  bool UseTables(std::uint64_t decoded);

  UploadState State() const;
  void Count(UploadStatistics& statistics) const;

  /// Stores the sum, modulo 256, of the first `length` - 1 bytes in the last one.
  static void GetCommand(std::uint8_t* command, const int& length);

 private:
  using Clock = std::chrono::steady_clock;

  void Load();
  void Exchange();
  void Drain();
  bool LearnRemote();
  bool DiscardLate();
  void SendRequest();
  void AwaitReply();
  bool TakeReply(const signed char* reply, int length);
  void CountFault(ReplyFault fault);
  bool IsCopy(const signed char* reply, int length);
  void AskForNext(int length, bool last);
  void Complete();
  void BeginRequest();

  const LidarType type_;
  const std::shared_ptr<ParamService> service_;
  const std::shared_ptr<UDPSelect> channel_;
  const bool strict_;

  // Shared with the thread that decodes.
  std::atomic<bool> pending_update_{true};  // cleared when the decoder has the tables
  std::atomic<bool> finished_{false};       // set by the load thread, after the tables

  // Of the load thread; kept while it is stopped.
  bool active_ = true;     // the upload is not over
  bool awaiting_ = false;  // the request is sent, its reply is not here
  bool last_ = false;      // the reply before announced the last piece
  ParamRequest request_;
  Clock::time_point first_sent_{};  // of this request, as the next two
  Clock::time_point last_sent_{};
  std::uint64_t sent_ = 0;
  std::uint64_t late_ = 0;  // replies to the request before that may still come
  Clock::time_point late_until_{};
  PieceMemory pieces_;  // of a strict loader
  Clock::time_point started_{};

  Counter total_bytes_, received_bytes_;  // written by the load thread, as the others
  Counter requests_, repeated_, send_errors_;
  Counter replies_, wrong_marker_, unusable_, discarded_;
  Counter duration_ns_;  // 0: not over
  std::atomic<std::uint64_t> decoded_before_use_{0};

  Worker worker_;  // last: its thread uses everything above
};

}  // namespace orliq::lidar
