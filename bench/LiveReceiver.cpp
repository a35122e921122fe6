// SPDX-License-Identifier: Apache-2.0
#include "bench/LiveReceiver.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <stdexcept>

namespace orliq::bench {
namespace {

int BoundSocket(std::uint16_t port, int flags) {
  const int descriptor = ::socket(AF_INET, SOCK_DGRAM | flags, 0);
  const int buffer = 16 * 1024 * 1024;
  ::setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &buffer, sizeof buffer);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  if (::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("the port is taken");
  }
  return descriptor;
}

}  // namespace

DriverReceiver::DriverReceiver(std::uint16_t port, lidar::LidarType type,
                               const std::string& check_folder) {
  driver_.RegisterPointCloudCallBack(
      [this](const std::shared_ptr<Cloud>&) { frames_.push_back(Clock::now()); },
      [this] {
        cloud_->points.clear();
        return cloud_;
      });
  lidar::DriverParam param;
  param.lidar_type = type;
  param.input_param = {"127.0.0.1", port, ""};
  param.calibration_param.check_folder = check_folder;
  if (!driver_.InitDriver(param) || !driver_.Start()) throw std::runtime_error("no driver");
}

std::uint64_t DriverReceiver::Packets() const {
  lidar::DriverStatistics statistics;
  driver_.GetStatistics(statistics);
  return statistics.decoded;
}

Clock::duration DriverReceiver::Stop() {
  const auto begin = Clock::now();
  driver_.Stop();
  return Clock::now() - begin;
}

BareReceiver::BareReceiver(std::uint16_t port, std::uint64_t packets_per_frame,
                           std::uint64_t closing)
    : packets_per_frame_(packets_per_frame),
      closing_(closing),
      descriptor_(BoundSocket(port, 0)),
      thread_([this] { Receive(); }) {}

BareReceiver::~BareReceiver() {
  Stop();
  ::close(descriptor_);
}

Clock::duration BareReceiver::Stop() {
  const auto begin = Clock::now();
  running_ = false;
  if (thread_.joinable()) thread_.join();
  return Clock::now() - begin;
}

void BareReceiver::Receive() {
  const timeval timeout = {0, 1000};
  ::setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  std::uint8_t packet[1546];
  while (running_) {
    const ssize_t count = ::recvfrom(descriptor_, packet, sizeof packet, 0, nullptr, nullptr);
    if (count <= 0) continue;
    const std::uint64_t place = packets_.load(std::memory_order_relaxed);
    if (place > 0 && place % packets_per_frame_ == closing_) frames_.push_back(Clock::now());
    packets_.store(place + 1, std::memory_order_relaxed);
  }
}

SleepingLoops::SleepingLoops(std::uint16_t port) : descriptor_(BoundSocket(port, SOCK_NONBLOCK)) {
  constexpr std::chrono::microseconds kPause{1};
  receiving_ = std::thread([this, kPause] {
    std::uint8_t packet[1546];
    while (running_) {
      if (::recvfrom(descriptor_, packet, sizeof packet, 0, nullptr, nullptr) < 0) {
        pollfd readable = {descriptor_, POLLIN, 0};
        const timespec wait = {0, 100'000};
        ::ppoll(&readable, 1, &wait, nullptr);
      }
      std::this_thread::sleep_for(kPause);
    }
  });
  decoding_ = std::thread([this, kPause] {
    while (running_) {
      {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!queue_.empty()) queue_.pop_back();
      }
      std::this_thread::sleep_for(kPause);
    }
  });
}

SleepingLoops::~SleepingLoops() {
  Stop();
  ::close(descriptor_);
}

Clock::duration SleepingLoops::Stop() {
  const auto begin = Clock::now();
  running_ = false;
  if (receiving_.joinable()) receiving_.join();
  if (decoding_.joinable()) decoding_.join();
  return Clock::now() - begin;
}

}  // namespace orliq::bench
