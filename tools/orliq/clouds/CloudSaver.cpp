// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudSaver.h"

#include <exception>
#include <utility>

namespace orliq::cli {

CloudSaver::CloudSaver(const std::string& target, const std::string& format, bool replace,
                       std::size_t room)
    : room_(room), writer_(target, format, replace), thread_([this] { Run(); }) {}

void CloudSaver::Save(std::shared_ptr<const void> owner, const CloudView& view, int frame) {
  const std::lock_guard lock(mutex_);
  if (jobs_.size() == room_) {
    ++losses_.no_room;
    return;
  }
  jobs_.push_back({std::move(owner), view, frame});
  work_.notify_one();
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
    work_.wait(lock, [this] { return finishing_ || !jobs_.empty(); });
    if (jobs_.empty()) return;
    const Job job = std::move(jobs_.front());
    jobs_.pop_front();
    lock.unlock();
    Write(job);
  }
}

void CloudSaver::Write(const Job& job) {
  try {
    writer_.Write(job.view, job.frame, 0);
  } catch (const std::exception& fault) {
    const std::lock_guard lock(mutex_);
    if (losses_.faults++ == 0) losses_.first_fault = fault.what();
  }
}

}  // namespace orliq::cli
