// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudSaver.h"

#include <chrono>
#include <exception>
#include <utility>

#include "orliq/network/HostNetwork.h"

namespace orliq::cli {
namespace {

constexpr std::chrono::seconds kTendTime{1};
constexpr std::chrono::milliseconds kPacketTime{100};

}  // namespace

CloudSaver::CloudSaver(std::unique_ptr<CloudSink> sink, std::size_t room)
    : room_(room),
      sink_(std::move(sink)),
      packets_(sink_->TakesPackets() ? std::make_unique<DatagramQueue>(kPacketBytes) : nullptr),
      packet_batch_(packets_ ? packets_->EmptyBatch() : DatagramBatch()),
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

/// Likewise, or after kPacketTime.
void CloudSaver::Save(std::size_t sensor, const lidar::RawPacket& packet) {
  const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
  const double time = static_cast<double>(packet.arrival_ns) * 1e-9;
  const sim::UdpEndpoints from = {Octets(packet.sender.address), {}, packet.sender.port, 0};
  packets_->Push({packet.data, packet.size, time != 0.0 ? time : now.count(), from}, sensor);
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
  Losses losses = losses_;
  if (packets_) losses.packets += packets_->Lost();
  return losses;
}

void CloudSaver::Run() {
  for (;;) {
    std::unique_lock lock(mutex_);
    work_.wait_for(lock, packets_ ? kPacketTime : kTendTime,
                   [this] { return finishing_ || !jobs_.empty(); });
    const std::vector<lidar::ImuMsg> samples = std::exchange(samples_, {});
    if (jobs_.empty()) {
      const bool over = finishing_;
      lock.unlock();
      Write(samples);
      WritePackets();
      if (over) return FinishFiles();
      Attempt([this] { sink_->Tend(); });
      continue;
    }
    const Job job = std::move(jobs_.front());
    jobs_.pop_front();
    lock.unlock();
    Write(samples);
    WritePackets();
    if (!Attempt([&] { sink_->Write(job.view, job.frame, 0); })) Lose(&Losses::faults);
  }
}

void CloudSaver::Write(const std::vector<lidar::ImuMsg>& samples) {
  for (const lidar::ImuMsg& sample : samples) {
    if (!Attempt([&] { sink_->Write(sample); })) Lose(&Losses::samples);
  }
}

/// All that wait.
void CloudSaver::WritePackets() {
  if (!packets_) return;
  packets_->Take(packet_batch_, std::chrono::milliseconds(0));
  const auto* const payloads = reinterpret_cast<const char*>(packet_batch_.payloads.data());
  for (const DatagramBatch::Entry& entry : packet_batch_.entries) {
    const KeptPacket packet = {
        entry.sensor, entry.time_s, entry.endpoints, {payloads + entry.offset, entry.bytes}};
    if (!Attempt([&] { sink_->Write(packet); })) Lose(&Losses::packets);
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
