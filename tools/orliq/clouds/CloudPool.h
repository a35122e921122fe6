// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace orliq::cli {

/// Clouds that come back for reuse when their last holder lets go, so that a frame finds the memory
/// of an earlier one. Safe from every thread.
template <typename Cloud>
class CloudPool : public std::enable_shared_from_this<CloudPool<Cloud>> {
 public:
  /// At most `spare` unused clouds are kept.
  explicit CloudPool(std::size_t spare) : spare_(spare) {}

  /// An empty cloud. The pool lives as long as any of its clouds. It must be held by shared_ptr.
  std::shared_ptr<Cloud> Take() {
    auto cloud = Pop();
    if (!cloud) cloud = std::make_unique<Cloud>();
    return {cloud.release(), [pool = this->shared_from_this()](Cloud* used) {
              pool->Return(std::unique_ptr<Cloud>(used));
            }};
  }

 private:
  std::unique_ptr<Cloud> Pop() {
    const std::lock_guard lock(mutex_);
    if (unused_.empty()) return nullptr;
    auto cloud = std::move(unused_.back());
    unused_.pop_back();
    return cloud;
  }

  void Return(std::unique_ptr<Cloud> cloud) {
    auto points = std::move(cloud->points);
    points.clear();
    *cloud = Cloud();  // nothing of the frame before may show in the next
    cloud->points = std::move(points);
    const std::lock_guard lock(mutex_);
    if (unused_.size() < spare_) unused_.push_back(std::move(cloud));
  }

  std::size_t spare_;
  std::mutex mutex_;
  std::vector<std::unique_ptr<Cloud>> unused_;  // guarded by mutex_
};

}  // namespace orliq::cli
