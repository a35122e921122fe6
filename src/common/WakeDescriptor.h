// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orliq::lidar {

/// Wakes a thread that waits for a descriptor: it waits for this one too. Once signalled it stays so
/// until it is cleared.
///
/// Threads: Signal may be called from any, the rest from one. Failure: a system without descriptors
/// leaves it without one (-1): who waits for it has to look again by itself.
class WakeDescriptor {
 public:
  WakeDescriptor();
  ~WakeDescriptor();
  WakeDescriptor(const WakeDescriptor&) = delete;
  WakeDescriptor& operator=(const WakeDescriptor&) = delete;

  void Signal() const;
  void Clear() const;
  int Descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace orliq::lidar
