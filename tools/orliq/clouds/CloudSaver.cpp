// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudSaver.h"

#include <chrono>
#include <exception>
#include <utility>

namespace orliq::cli {
namespace {

constexpr std::chrono::seconds kTendTime{1};
constexpr std::size_t kManyBytes = CloudSaver::kPacketRoom / 8;  // of packets: not left till then

}  // namespace

CloudSaver::CloudSaver(std::unique_ptr<CloudSink> sink, std::size_t room)
    : room_(room),
      sink_(std::move(sink)),
      keeps_packets_(sink_->TakesPackets()),
      thread_([this] { Run(); }) {}

void CloudSaver::Save(std::shared_ptr<const void> owner, const CloudView& view, int frame) {
  const std::lock_guard lock(mutex_);
  if (jobs_.size() == room_) {
    ++losses_.no_room;
    return;
  }
  jobs_.push_back({std::move(owner), view, frame});
  work_.notify_one();
}

/// Wakes nobody: the thread takes it with the next cloud, or after kTendTime.
void CloudSaver::Save(const lidar::ImuMsg& sample) {
  const std::lock_guard lock(mutex_);
  if (samples_.size() < kSampleRoom) {
    samples_.push_back(sample);
  } else {
    ++losses_.samples;
  }
}

/// Likewise, unless many have come.
void CloudSaver::Save(std::size_t sensor, const lidar::RawPacket& packet) {
  const std::size_t bytes = sizeof(KeptPacket) + packet.size;
  const std::lock_guard lock(mutex_);
  if (packet_bytes_ + bytes > kPacketRoom) {
    ++losses_.packets;
    return;
  }
  packet_bytes_ += bytes;
  packets_.push_back({sensor, packet.arrival_ns, packet.sender,
                      std::string(reinterpret_cast<const char*>(packet.data), packet.size)});
  if (packet_bytes_ >= kManyBytes) work_.notify_one();
}

void CloudSaver::Finish() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    finishing_ = true;
  }
  work_.notify_one();
  thread_.join();
}

CloudSaver::Losses CloudSaver::Found() const {
  const std::lock_guard lock(mutex_);
  return losses_;
}

void CloudSaver::Run() {
  for (;;) {
    std::unique_lock lock(mutex_);
    work_.wait_for(lock, kTendTime,
                   [this] { return finishing_ || !jobs_.empty() || packet_bytes_ >= kManyBytes; });
    const std::vector<lidar::ImuMsg> samples = std::exchange(samples_, {});
    const std::vector<KeptPacket> packets = std::exchange(packets_, {});
    packet_bytes_ = 0;
    if (jobs_.empty()) {
      const bool over = finishing_;
      lock.unlock();
      Write(samples, &Losses::samples);
      Write(packets, &Losses::packets);
      if (over) return FinishFiles();
      Attempt([this] { sink_->Tend(); });
      continue;
    }
    const Job job = std::move(jobs_.front());
    jobs_.pop_front();
    lock.unlock();
    Write(samples, &Losses::samples);
    Write(packets, &Losses::packets);
    if (!Attempt([&] { sink_->Write(job.view, job.frame, 0); })) Lose(&Losses::faults);
  }
}

template <typename Item>
void CloudSaver::Write(const std::vector<Item>& items, std::uint64_t Losses::*lost) {
  for (const Item& item : items) {
    if (!Attempt([&] { sink_->Write(item); })) Lose(lost);
  }
}

/// What waits within the sink for a disk that takes it is lost when that comes to nothing.
void CloudSaver::FinishFiles() {
  if (Attempt([this] { sink_->Finish(); })) return;
  Lose(&Losses::faults, sink_->PendingClouds());
  Lose(&Losses::samples, sink_->PendingSamples());
  Lose(&Losses::packets, sink_->PendingPackets());
  const std::lock_guard lock(mutex_);
  losses_.unfinished = true;
}

template <typename Work>
bool CloudSaver::Attempt(const Work& work) {
  try {
    work();
    return true;
  } catch (const std::exception& fault) {
    const std::lock_guard lock(mutex_);
    if (losses_.first_fault.empty()) losses_.first_fault = fault.what();
    return false;
  }
}

void CloudSaver::Lose(std::uint64_t Losses::*what, std::uint64_t count) {
  const std::lock_guard lock(mutex_);
  losses_.*what += count;
}

}  // namespace orliq::cli
