// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <thread>

#include "orliq/network/DatagramQueue.h"
#include "orliq/network/UdpReceiver.h"

namespace orliq::cli {

/// Moves datagrams from a socket to a queue on a thread of its own. Both must outlive it.
class ReceiveThread {
 public:
  ReceiveThread(UdpReceiver& socket, DatagramQueue& queue);
  ~ReceiveThread() { Stop(); }
  ReceiveThread(const ReceiveThread&) = delete;
  ReceiveThread& operator=(const ReceiveThread&) = delete;

  /// Ends the thread once everything that waits in the socket is in the queue.
  void Stop();

 private:
  void Run();

  UdpReceiver& socket_;
  DatagramQueue& queue_;
  std::atomic<bool> ending_{false};
  std::thread thread_;
};

}  // namespace orliq::cli
