// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "common/Wakeup.h"
#include "common/Worker.h"
#include "driver/FusionSlot.h"
#include "multi_driver/FusionRound.h"

namespace orliq::lidar {

/// The thread that makes one cloud of the frames of all sensors, whenever each of them has a new one.
///
/// Threads: StartFusion and StopFusion belong to the application's thread, or to the receiver and the
/// supplier, which run on the fusion thread; LatestRound may be called from any.
/// Ownership: the thread keeps this object alive until it ends.
/// Failure: a missing supplier, a start while it runs, and an exception of a callback end the process.
template <typename T>
class Fusion : public std::enable_shared_from_this<Fusion<T>> {
 public:
  using Slots = std::vector<std::shared_ptr<FusionSlot<T>>>;
  using Receiver = std::function<void(std::shared_ptr<T>)>;
  using Supplier = std::function<std::shared_ptr<T>()>;

  /// What the slots signal.
  std::shared_ptr<Wakeup> Arrival() const { return arrival_; }

  /// Starts a thread that fuses the frames of these slots, in their order; none never has any. False
  /// when the system has no thread left.
  bool StartFusion(Slots slots, Receiver receiver, Supplier supplier);

  /// Ends the thread and waits for it, unless called on it: then it ends once the callback returns.
  void StopFusion();

  /// Lets a thread go whose callback destroys the driver: nobody will wait for it.
  void DetachIfOwnThread() { worker_.DetachIfOwnThread(); }

  std::optional<FusionRound> LatestRound() const;
  void ForgetRound();

 private:
  struct Task {
    Slots slots;
    Receiver receiver;
    Supplier supplier;
  };
  using Frames = std::vector<typename FusionSlot<T>::Frame>;

  void Run();
  bool HasCloud(const Task& task);
  bool WaitForAll(const Task& task);
  void FuseRound(const Task& task);
  void Fill(T& cloud, const Frames& frames) const;
  void NoteRound(const Frames& frames);

  std::shared_ptr<const Task> task_;  // of the fusion thread, or of who starts it
  std::shared_ptr<T> cloud_;          // to be filled; of the fusion thread
  const std::shared_ptr<Wakeup> arrival_ = std::make_shared<Wakeup>();
  mutable std::mutex round_mutex_;
  std::optional<FusionRound> round_;  // the latest; guarded by round_mutex_
  Worker worker_;                     // last: its thread uses everything above
};

}  // namespace orliq::lidar
