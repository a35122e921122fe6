// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "orliq/clouds/CloudWriter.h"

namespace orliq::cli {

/// Writes clouds on a thread of its own, so that the disk never makes decoding wait. A cloud that
/// finds the queue full is given up and counted.
class CloudSaver {
 public:
  static constexpr std::size_t kRoom = 64;  // 2.5 s of a 25 Hz sensor

  /// Room for clouds of so many sensors, in about the memory of one sensor's.
  static std::size_t RoomFor(std::size_t sensors) {
    return std::max<std::size_t>(16, kRoom / sensors);
  }

  /// What has not been written, and why.
  struct Losses {
    std::uint64_t no_room = 0;  ///< frames that found the queue full
    std::uint64_t faults = 0;   ///< frames that could not be written
    std::string first_fault;
  };

  /// At most `room` clouds wait. Throws Failure as CloudWriter does.
  CloudSaver(const std::string& target, const std::string& format, bool replace = false,
             std::size_t room = kRoom);
  ~CloudSaver() { Finish(); }
  CloudSaver(const CloudSaver&) = delete;
  CloudSaver& operator=(const CloudSaver&) = delete;

  /// Hands over a cloud; `owner` keeps alive what `view` refers to. Never waits for the disk.
  void Save(std::shared_ptr<const void> owner, const CloudView& view, int frame);

  /// Writes all that waits and ends the thread.
  void Finish();

  /// At any time, from any thread.
  Losses Found() const;

  /// Of the time after Finish only.
  const CloudWriter& Writer() const { return writer_; }

 private:
  struct Job {
    std::shared_ptr<const void> owner;
    CloudView view;
    int frame;
  };

  void Run();
  void Write(const Job& job);

  const std::size_t room_;
  CloudWriter writer_;  // of the thread
  mutable std::mutex mutex_;
  std::condition_variable work_;
  std::deque<Job> jobs_;    // guarded by mutex_
  bool finishing_ = false;  // guarded by mutex_
  Losses losses_;           // guarded by mutex_
  std::thread thread_;
};

}  // namespace orliq::cli
