// SPDX-License-Identifier: Apache-2.0
#include "orliq/network/ReceiveThread.h"

#include <chrono>

namespace orliq::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience{20};  // the longest until the thread sees Stop
// A buffer of 16 MiB is read in a tenth of it; a flow that never lets up must not keep it going.
constexpr std::chrono::seconds kLongestEnd{1};

}  // namespace

ReceiveThread::ReceiveThread(UdpReceiver& socket, DatagramQueue& queue)
    : socket_(socket), queue_(queue), thread_([this] { Run(); }) {}

void ReceiveThread::Stop() {
  if (!thread_.joinable()) return;
  ending_ = true;
  thread_.join();
}

void ReceiveThread::Run() {
  while (!ending_) {
    if (const auto datagram = socket_.Receive(kPatience)) queue_.Push(*datagram);
  }
  const auto end = Clock::now() + kLongestEnd;
  while (Clock::now() < end) {
    const auto datagram = socket_.Receive(std::chrono::milliseconds(0));
    if (!datagram) return;
    queue_.Push(*datagram);
  }
}

}  // namespace orliq::cli
