// SPDX-License-Identifier: Apache-2.0
#include "common/SocketMemory.h"

#include <linux/sock_diag.h>
#include <sys/socket.h>

#include <algorithm>

namespace orliq::lidar {

std::uint64_t DroppedDatagrams(int socket) {
  std::uint32_t memory[SK_MEMINFO_VARS] = {};
  socklen_t size = sizeof memory;
  ::getsockopt(socket, SOL_SOCKET, SO_MEMINFO, memory, &size);
  return memory[SK_MEMINFO_DROPS];
}

std::uint64_t GrantedBufferBytes(int socket) {
  int granted = 0;
  socklen_t size = sizeof granted;
  ::getsockopt(socket, SOL_SOCKET, SO_RCVBUF, &granted, &size);
  return static_cast<std::uint64_t>(std::max(granted, 0));
}

}  // namespace orliq::lidar
