// SPDX-License-Identifier: Apache-2.0
#include "param/UDPSelect.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <limits>

#include "common/Diagnostics.h"

namespace orliq::lidar {
namespace {

/// The tables come in quick succession: four times the usual room for what has arrived. The system
/// may grant less.
void Enlarge(const UdpSocket& socket, int option) {
  constexpr int kLargest = std::numeric_limits<int>::max() / 4;
  socket.SetOption(option, 4 * std::min(socket.Option(option), kLargest));
}

}  // namespace

UDPSelect::UDPSelect(const CalibrationParam& param)
    : local_port_(param.local_port),
      local_address_(param.local_address),
      remote_port_(param.remote_port),
      remote_address_(param.remote_address),
      check_folder_(param.check_folder) {
  TellRemote();
}

bool UDPSelect::Init() {
  if (!socket_.Open()) {
    diagnostics::SocketCreationFailed();
    return false;
  }
  if (!socket_.SetOption(SO_REUSEADDR, 1)) {
    diagnostics::SocketOptionFailed();
    Close();
    return false;
  }
  if (!socket_.Bind(local_address_, local_port_)) {
    diagnostics::BindFailed();
    Close();
    return false;
  }
  Enlarge(socket_, SO_RCVBUF);
  Enlarge(socket_, SO_SNDBUF);
  return true;
}

int UDPSelect::RecvData(void* buffer, const int& capacity) {
  if (capacity < 0 || !WaitReadEvent(kWaitMs)) return 0;
  for (int taken = 0; taken < kSkips; ++taken) {
    sockaddr_in sender = {};
    const int count = socket_.Receive(buffer, static_cast<std::size_t>(capacity), sender);
    if (count < 0) return taken == 0 ? -1 : 0;
    if (only_remote_ && !IsRemote(sender)) {
      other_senders_.Add();
      continue;
    }
    Learn(sender);
    return count == 0 ? -1 : count;
  }
  return 0;
}

bool UDPSelect::SendData(const void* buffer, const int& length) {
  sockaddr_in sensor = {};
  if (length < 0 || !KnowsRemote() || !SocketAddress(remote_address_, remote_port_, sensor)) {
    return false;
  }
  return WaitWriteEvent(kWaitMs) && socket_.Send(buffer, static_cast<std::size_t>(length), sensor);
}

bool UDPSelect::WaitReadEvent(const int& timeout_ms) const {
  return socket_.WaitRead(std::chrono::milliseconds(timeout_ms));
}

bool UDPSelect::WaitWriteEvent(const int& timeout_ms) const {
  return socket_.WaitWrite(std::chrono::milliseconds(timeout_ms));
}

std::size_t UDPSelect::Discard() {
  std::size_t discarded = 0;
  std::uint8_t byte = 0;
  sockaddr_in sender = {};
  while (discarded < kSkips && socket_.Receive(&byte, 1, sender) >= 0) ++discarded;
  return discarded;
}

/// As far as the sensor is known.
bool UDPSelect::IsRemote(const sockaddr_in& sender) const {
  sockaddr_in sensor = {};
  if (!SocketAddress(remote_address_, remote_port_, sensor)) return false;
  const bool address = remote_address_.empty() || sensor.sin_addr.s_addr == sender.sin_addr.s_addr;
  return address && (remote_port_ == 0 || sensor.sin_port == sender.sin_port);
}

void UDPSelect::Learn(const sockaddr_in& sender) {
  if (KnowsRemote()) return;
  if (remote_port_ == 0) remote_port_ = ntohs(sender.sin_port);
  if (remote_address_.empty()) {
    char text[INET_ADDRSTRLEN] = {};
    remote_address_ = ::inet_ntop(AF_INET, &sender.sin_addr, text, sizeof text);
  }
  TellRemote();
}

void UDPSelect::TellRemote() {
  sockaddr_in sensor = {};
  if (!SocketAddress(remote_address_, remote_port_, sensor)) return;
  remote_.Set(std::uint64_t{ntohl(sensor.sin_addr.s_addr)} << 16U | ntohs(sensor.sin_port));
}

PacketSender UDPSelect::Remote() const {
  const std::uint64_t packed = remote_.Value();
  return {static_cast<std::uint32_t>(packed >> 16U), static_cast<std::uint16_t>(packed)};
}

}  // namespace orliq::lidar
