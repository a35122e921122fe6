// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/EncodeAhead.h"

#include <pthread.h>

#include <utility>

namespace orliq::sim {
namespace {

constexpr std::size_t kAhead = 4;  // [frames] a sixth of a second of the fastest real sensor

}  // namespace

EncodeAhead::EncodeAhead(Sensor& sensor, const SceneView& view, std::optional<std::uint64_t> frames)
    : sensor_(sensor), view_(view), frames_(frames), worker_([this] { Encode(); }) {}

EncodeAhead::~EncodeAhead() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopped_ = true;
  }
  changed_.notify_all();
  worker_.join();
}

std::vector<Packet> EncodeAhead::Next() {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this] { return finished_ || !ready_.empty(); });
  if (ready_.empty()) {
    if (fault_) std::rethrow_exception(fault_);
    return {};
  }
  std::vector<Packet> packets = std::move(ready_.front());
  ready_.pop_front();
  changed_.notify_all();
  return packets;
}

void EncodeAhead::Encode() {
  ::pthread_setname_np(::pthread_self(), "orliq-encode");
  std::exception_ptr fault;
  try {
    for (std::uint64_t frame = 0; (!frames_ || frame < *frames_) && WaitForRoom(); ++frame) {
      std::vector<Packet> packets = sensor_.EncodeFrame(view_, frame);
      const std::lock_guard<std::mutex> lock(mutex_);
      ready_.push_back(std::move(packets));
      changed_.notify_all();
    }
  } catch (...) {
    fault = std::current_exception();
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  fault_ = fault;
  finished_ = true;
  changed_.notify_all();
}

bool EncodeAhead::WaitForRoom() {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this] { return stopped_ || ready_.size() < kAhead; });
  return !stopped_;
}

}  // namespace orliq::sim
