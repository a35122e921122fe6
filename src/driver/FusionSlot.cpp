// SPDX-License-Identifier: Apache-2.0
#include "driver/FusionSlot.h"

#include <utility>

#include "multi_driver/PointCloud.h"

namespace orliq::lidar {

template <typename T>
FusionSlot<T>::FusionSlot(std::shared_ptr<Wakeup> arrival) : arrival_(std::move(arrival)) {}

template <typename T>
void FusionSlot<T>::PutPointCloud(std::shared_ptr<T> cloud) {
  const auto now = Clock::now();
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (pending_.cloud) ++pending_.overwritten;
    pending_.cloud.swap(cloud);  // the old one is freed without the lock
    pending_.arrived = now;
    taken_ = false;
  }
  arrival_->Signal();
}

template <typename T>
bool FusionSlot<T>::HasNewPointCloud() const {
  if (taken_) return false;
  const std::lock_guard<std::mutex> lock(mutex_);
  return pending_.cloud != nullptr;
}

template <typename T>
typename FusionSlot<T>::Frame FusionSlot<T>::GetEnablePointCloud() {
  if (taken_) return {};
  const std::lock_guard<std::mutex> lock(mutex_);
  taken_ = true;
  return std::exchange(pending_, {});
}

#define ORLIQ_INSTANTIATE(CLOUD) template class FusionSlot<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
