// SPDX-License-Identifier: Apache-2.0
#include "bench/LiveReceiver.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

#include "decoder/DecoderFactory.h"

namespace orliq::bench {
namespace {

int BoundSocket(std::uint16_t port) {
  const int descriptor = ::socket(AF_INET, SOCK_DGRAM, 0);
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

BlockingLoop::BlockingLoop(std::uint16_t port) : descriptor_(BoundSocket(port)) {}

BlockingLoop::~BlockingLoop() {
  BlockingLoop::Stop();
  ::close(descriptor_);
}

void BlockingLoop::Begin(std::function<void(const std::uint8_t*, std::size_t)> take) {
  take_ = std::move(take);
  thread_ = std::thread([this] { Receive(); });
}

Clock::duration BlockingLoop::Stop() {
  const auto begin = Clock::now();
  running_ = false;
  if (thread_.joinable()) thread_.join();
  return Clock::now() - begin;
}

void BlockingLoop::Receive() {
  const timeval timeout = {0, 50'000};  // so that it can be stopped
  ::setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  std::uint8_t packet[1546];
  while (running_) {
    const ssize_t count = ::recvfrom(descriptor_, packet, sizeof packet, 0, nullptr, nullptr);
    if (count <= 0) continue;
    take_(packet, static_cast<std::size_t>(count));
    packets_.store(Place() + 1, std::memory_order_relaxed);
  }
}

BareReceiver::BareReceiver(std::uint16_t port, std::uint64_t packets_per_frame,
                           std::uint64_t closing)
    : BlockingLoop(port) {
  Begin([this, packets_per_frame, closing](const std::uint8_t*, std::size_t) {
    const std::uint64_t place = Place();
    if (place > 0 && place % packets_per_frame == closing) frames_.push_back(Clock::now());
  });
}

DecodingReceiver::DecodingReceiver(std::uint16_t port, lidar::LidarType type,
                                   lidar::CheckParam* tables)
    : BlockingLoop(port), decoder_(lidar::DecoderFactory<Cloud>::CreateDecoder(type, {})) {
  decoder_->UpdateCheckParam(tables);
  const auto cloud = std::make_shared<Cloud>();
  decoder_->InstallCloud(cloud);
  decoder_->RegisterCallBack([](const lidar::Error&) {},
                             [this, cloud](const std::uint16_t&, const double&) {
                               frames_.push_back(Clock::now());
                               cloud->points.clear();
                             });
  Begin([this](const std::uint8_t* packet, std::size_t size) {
    decoder_->ProcessMsopPacket(packet, size, 0);
  });
}

}  // namespace orliq::bench
