// SPDX-License-Identifier: Apache-2.0
#include "orliq/ReceiveThread.h"

#include <chrono>
#include <limits>

namespace orliq::cli {
namespace {

constexpr std::chrono::milliseconds kPatience{20};  // the longest that Stop waits for the thread
constexpr double kNoEnd = std::numeric_limits<double>::infinity();

}  // namespace

ReceiveThread::ReceiveThread(UdpReceiver& socket, DatagramQueue& queue)
    : socket_(socket), queue_(queue), end_s_(kNoEnd), thread_([this] { Run(); }) {}

void ReceiveThread::Stop() {
  if (!thread_.joinable()) return;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  end_s_ = std::chrono::duration<double>(now).count();
  thread_.join();
}

void ReceiveThread::Run() {
  for (;;) {
    const double end_s = end_s_;
    const bool ending = end_s < kNoEnd;
    const auto datagram = socket_.Receive(ending ? std::chrono::milliseconds(0) : kPatience);
    if (datagram && datagram->time_s <= end_s) queue_.Push(*datagram);
    if (ending && (!datagram || datagram->time_s > end_s)) return;
  }
}

}  // namespace orliq::cli
