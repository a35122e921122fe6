// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "orliq/terminal/Console.h"
#include "orliq/verbs/view/ViewTexts.h"

namespace orliq::cli {

/// What pages are told in words: why nothing comes, and the latest remarks that the user of the terminal
/// gets. Safe from every thread.
class Notices {
 public:
  /// Listens to the console as long as this lives.
  explicit Notices(Console& console) : console_(console) {
    console_.SetListener([this](const std::string& remark) { Add(remark); });
  }
  ~Notices() { console_.SetListener(nullptr); }
  Notices(const Notices&) = delete;
  Notices& operator=(const Notices&) = delete;

  /// Empty: something comes. Whether anything has changed since the last call.
  bool SetSilence(const std::string& silence) {
    const std::lock_guard lock(mutex_);
    const bool changed = silence.empty() != silence_.empty() || changed_;
    silence_ = silence;
    changed_ = false;
    return changed;
  }

  std::vector<ViewNotice> All() const {
    const std::lock_guard lock(mutex_);
    std::vector<ViewNotice> all;
    if (!silence_.empty()) all.push_back({true, silence_});
    for (const std::string& remark : remarks_) all.push_back({false, remark});
    return all;
  }

 private:
  static constexpr std::size_t kLatest = 6;  // remarks

  void Add(const std::string& remark) {
    const std::lock_guard lock(mutex_);
    remarks_.push_back(remark);
    if (remarks_.size() > kLatest) remarks_.pop_front();
    changed_ = true;
  }

  Console& console_;
  mutable std::mutex mutex_;
  std::string silence_;  // guarded by mutex_, as what follows
  std::deque<std::string> remarks_;
  bool changed_ = false;
};

}  // namespace orliq::cli
