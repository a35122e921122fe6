// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudSaver.h"

#include <chrono>
#include <exception>
#include <utility>

namespace orliq::cli {
namespace {

constexpr std::chrono::seconds kTendTime{1};

}  // namespace

CloudSaver::CloudSaver(std::unique_ptr<CloudSink> sink, std::size_t room)
    : room_(room), sink_(std::move(sink)), thread_([this] { Run(); }) {}

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
    work_.wait_for(lock, kTendTime, [this] { return finishing_ || !jobs_.empty(); });
    const std::vector<lidar::ImuMsg> samples = std::exchange(samples_, {});
    if (jobs_.empty()) {
      const bool over = finishing_;
      lock.unlock();
      Write(samples);
      if (over) return FinishFiles();
      Attempt([this] { sink_->Tend(); });
      continue;
    }
    const Job job = std::move(jobs_.front());
    jobs_.pop_front();
    lock.unlock();
    Write(samples);
    if (!Attempt([&] { sink_->Write(job.view, job.frame, 0); })) AddFaults(1, 0);
  }
}

void CloudSaver::Write(const std::vector<lidar::ImuMsg>& samples) {
  for (const lidar::ImuMsg& sample : samples) {
    if (!Attempt([&] { sink_->Write(sample); })) AddFaults(0, 1);
  }
}

/// What waits within the sink for a disk that takes it is lost when that comes to nothing.
void CloudSaver::FinishFiles() {
  if (Attempt([this] { sink_->Finish(); })) return;
  AddFaults(sink_->PendingClouds(), sink_->PendingSamples());
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

void CloudSaver::AddFaults(std::uint64_t clouds, std::uint64_t samples) {
  const std::lock_guard lock(mutex_);
  losses_.faults += clouds;
  losses_.samples += samples;
}

}  // namespace orliq::cli
