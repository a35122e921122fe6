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
#include <vector>

#include "multi_driver/RawPacket.h"
#include "orliq/clouds/CloudSink.h"
#include "orliq/network/DatagramQueue.h"

namespace orliq::cli {

/// Writes clouds, samples and packets on a thread of its own, so that the disk never makes decoding wait.
/// What finds its queue full is given up and counted.
class CloudSaver {
 public:
  static constexpr std::size_t kRoom = 64;  // 2.5 s of a 25 Hz sensor

  static constexpr std::size_t kSampleRoom = 16384;  // 8 s of 2,000 in a second

  static constexpr std::size_t kPacketBytes = std::size_t{128} << 20U;  // 2 s of eight 10 Hz Juniqs

  /// Room for clouds of so many sensors, in about the memory of one sensor's.
  static std::size_t RoomFor(std::size_t sensors) {
    return std::max<std::size_t>(16, kRoom / sensors);
  }

  /// What has not been written, and why.
  struct Losses {
    std::uint64_t no_room = 0;  ///< frames that found the queue full
    std::uint64_t faults = 0;   ///< frames that could not be written
    std::string first_fault;
    std::uint64_t samples = 0;  ///< for either reason
    std::uint64_t packets = 0;  ///< likewise
    bool unfinished = false;    ///< the file could not be completed

    std::uint64_t Count() const { return no_room + faults + samples + packets; }
    bool Any() const { return Count() > 0 || unfinished; }
  };

  /// At most `room` clouds wait.
  explicit CloudSaver(std::unique_ptr<CloudSink> sink, std::size_t room = kRoom);
  ~CloudSaver() { Finish(); }
  CloudSaver(const CloudSaver&) = delete;
  CloudSaver& operator=(const CloudSaver&) = delete;

  /// Hands over a cloud; `owner` keeps alive what `view` refers to. Never waits for the disk.
  void Save(std::shared_ptr<const void> owner, const CloudView& view, int frame);

  void Save(const lidar::ImuMsg& sample);

  /// Whether packets are to be saved.
  bool KeepsPackets() const { return packets_ != nullptr; }
  void Save(std::size_t sensor, const lidar::RawPacket& packet);

  /// Writes all that waits, completes the files and ends the thread.
  void Finish();

  /// At any time, from any thread.
  Losses Found() const;

  /// Of the time after Finish only.
  const CloudSink& Sink() const { return *sink_; }

 private:
  struct Job {
    std::shared_ptr<const void> owner;
    CloudView view;
    int frame;
  };

  void Run();
  void Write(const std::vector<lidar::ImuMsg>& samples);
  void WritePackets();
  void FinishFiles();
  void Lose(std::uint64_t Losses::*what, std::uint64_t count = 1);
  template <typename Work>
  bool Attempt(const Work& work);

  const std::size_t room_;
  const std::unique_ptr<CloudSink> sink_;         // of the thread
  const std::unique_ptr<DatagramQueue> packets_;  // null: they are not wanted
  DatagramBatch packet_batch_;                    // of the thread
  mutable std::mutex mutex_;
  std::condition_variable work_;
  std::deque<Job> jobs_;                // guarded by mutex_
  std::vector<lidar::ImuMsg> samples_;  // guarded by mutex_
  bool finishing_ = false;              // guarded by mutex_
  Losses losses_;                       // guarded by mutex_
  std::thread thread_;
};

}  // namespace orliq::cli
