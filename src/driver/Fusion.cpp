// SPDX-License-Identifier: Apache-2.0
#include "driver/Fusion.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <thread>
#include <utility>

#include "driver/FusedCloud.h"
#include "multi_driver/PointCloud.h"

namespace orliq::lidar {
namespace {

constexpr std::chrono::microseconds kSupplierPause{100};  // until it is asked for a cloud again

double Seconds(std::chrono::steady_clock::duration time) {
  return std::chrono::duration<double>(time).count();
}

}  // namespace

template <typename T>
bool Fusion<T>::StartFusion(Slots slots, Receiver receiver, Supplier supplier) {
  if (worker_.Running()) std::terminate();  // two would take each other's frames
  worker_.Join();
  task_ = std::make_shared<const Task>(
      Task{std::move(slots), std::move(receiver), std::move(supplier)});
  ForgetRound();
  return worker_.Start("orliq-fusion", this->shared_from_this(), [this] { Run(); });
}

template <typename T>
void Fusion<T>::StopFusion() {
  worker_.RequestStop();
  arrival_->Signal();
  worker_.Join();
}

template <typename T>
void Fusion<T>::ForgetRound() {
  const std::lock_guard<std::mutex> lock(round_mutex_);
  round_.reset();
}

template <typename T>
std::optional<FusionRound> Fusion<T>::LatestRound() const {
  const std::lock_guard<std::mutex> lock(round_mutex_);
  return round_;
}

template <typename T>
void Fusion<T>::Run() {
  while (worker_.Running()) {
    const auto task = task_;  // a callback may stop this one and start another
    const bool has_cloud = HasCloud(*task);
    if (task != task_) {
      cloud_.reset();  // the new one has a supplier of its own
    } else if (has_cloud && WaitForAll(*task)) {
      FuseRound(*task);
    }
  }
  cloud_.reset();
}

template <typename T>
bool Fusion<T>::HasCloud(const Task& task) {
  if (!cloud_) cloud_ = task.supplier();
  if (!cloud_) std::this_thread::sleep_for(kSupplierPause);
  return cloud_ != nullptr;
}

/// The barrier: true when every sensor has a new frame, false when the thread is to end.
template <typename T>
bool Fusion<T>::WaitForAll(const Task& task) {
  const auto complete = [&] {
    return !task.slots.empty() &&
           std::all_of(task.slots.begin(), task.slots.end(),
                       [](const auto& slot) { return slot->HasNewPointCloud(); });
  };
  while (worker_.Running()) {
    if (complete()) return true;
    arrival_->Wait();
  }
  return false;
}

template <typename T>
void Fusion<T>::FuseRound(const Task& task) {
  Frames frames;
  for (const auto& slot : task.slots) frames.push_back(slot->GetEnablePointCloud());
  Fill(*cloud_, frames);
  NoteRound(frames);
  frames.clear();  // their memory is free while the application works
  auto cloud = std::exchange(cloud_, nullptr);
  if (task.receiver) task.receiver(std::move(cloud));
  for (const auto& slot : task.slots) slot->ResetFusionState();
}

template <typename T>
void Fusion<T>::Fill(T& cloud, const Frames& frames) const {
  std::size_t count = cloud.points.size();
  for (const auto& frame : frames) count += frame.cloud->points.size();
  cloud.points.reserve(count);
  for (std::size_t sensor = 0; sensor < frames.size(); ++sensor) {
    AppendFrame(cloud, *frames[sensor].cloud, sensor);
  }
}

template <typename T>
void Fusion<T>::NoteRound(const Frames& frames) {
  const auto now = FusionSlot<T>::Clock::now();
  FusionRound round;
  auto oldest = now;
  auto newest = frames.front().arrived;
  for (const auto& frame : frames) {
    round.sensors.push_back({frame.cloud->points.size(), frame.cloud->timestamp,
                             Seconds(now - frame.arrived), frame.overwritten});
    oldest = std::min(oldest, frame.arrived);
    newest = std::max(newest, frame.arrived);
  }
  round.skew_s = Seconds(newest - oldest);
  const std::lock_guard<std::mutex> lock(round_mutex_);
  round.number = round_ ? round_->number + 1 : 1;
  round_ = std::move(round);
}

#define ORLIQ_INSTANTIATE(CLOUD) template class Fusion<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
