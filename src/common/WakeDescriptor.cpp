// SPDX-License-Identifier: Apache-2.0
#include "common/WakeDescriptor.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace orliq::lidar {

WakeDescriptor::WakeDescriptor() : descriptor_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

WakeDescriptor::~WakeDescriptor() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

void WakeDescriptor::Signal() const {
  ::eventfd_write(descriptor_, 1);
}

void WakeDescriptor::Clear() const {
  eventfd_t signals = 0;
  ::eventfd_read(descriptor_, &signals);
}

}  // namespace orliq::lidar
