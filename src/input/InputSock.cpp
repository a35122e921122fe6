// SPDX-License-Identifier: Apache-2.0
#include "input/InputSock.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <new>
#include <utility>

#include "common/Diagnostics.h"
#include "common/SocketMemory.h"

namespace orliq::lidar {
namespace {

constexpr int kSendBufferBytes = 4 * 1024 * 1024;
constexpr int kBusyPollUs = 50;

/// When the system received a datagram [ns since 1970 UTC]; 0 when it does not tell.
std::uint64_t ArrivalNs(msghdr& header) {
  const cmsghdr* const told = CMSG_FIRSTHDR(&header);
  if (told == nullptr || told->cmsg_level != SOL_SOCKET || told->cmsg_type != SCM_TIMESTAMPNS) {
    return 0;
  }
  timespec time = {};
  std::memcpy(&time, CMSG_DATA(told), sizeof time);
  return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000 +
         static_cast<std::uint64_t>(time.tv_nsec);
}

PacketSender SenderOf(const sockaddr_in& address) {
  return {ntohl(address.sin_addr.s_addr), ntohs(address.sin_port)};
}

constexpr int kNothing = 0;   // no datagram is waiting
constexpr int kSkipped = -2;  // there was one, but none to deliver

}  // namespace

InputSock::InputSock(const InputParam& param)
    : local_ip_(param.local_ip), port_(param.port), pcap_file_(param.pcap_file) {}

InputSock::~InputSock() {
  Close();
  CleanupBatchRecv();
}

bool InputSock::Init() {
  if (!sock_.Open()) {
    diagnostics::SocketCreationFailed();
    return false;
  }
  SetOptions();
  if (!sock_.Bind(local_ip_, port_)) {
    diagnostics::BindFailed();
    Close();
    return false;
  }
  if (!InitBatchRecv()) {
    Close();
    return false;
  }
  return true;
}

void InputSock::SetOptions() const {
  sock_.SetOption(SO_REUSEADDR, 1);
  sock_.SetOption(SO_REUSEPORT, 1);
  const auto asked = static_cast<int>(std::min<std::uint32_t>(socket_buffer_, INT_MAX));
  sock_.SetOption(SO_RCVBUF, asked == 0 ? kReceiveBufferBytes : asked);
  sock_.SetOption(SO_SNDBUF, kSendBufferBytes);
  sock_.SetOption(SO_BUSY_POLL, kBusyPollUs);
  sock_.SetOption(SO_TIMESTAMPNS, 1);
}

bool InputSock::InitBatchRecv() {
  if (batch_ready_) return true;
  iovecs_.reset(new (std::nothrow) iovec[kBatch]);
  msgs_.reset(new (std::nothrow) mmsghdr[kBatch]());
  addrs_.reset(new (std::nothrow) sockaddr_in[kBatch]);
  arrivals_.reset(new (std::nothrow) ArrivalRoom[kBatch]);
  batch_ready_ = iovecs_ && msgs_ && addrs_ && arrivals_;
  if (!batch_ready_) CleanupBatchRecv();
  return batch_ready_;
}

int InputSock::RecvPacket(std::shared_ptr<Buffer>& buffer, const int& size, long* /*position*/,
                          const bool& /*remember*/) {
  if (!buffer || size <= 0) return 0;
  const std::size_t room = std::min<std::uint64_t>(static_cast<unsigned>(size), buffer->capacity);
  int count = ReceiveOrWait(*buffer, room);
  for (int skips = 1; count == kSkipped && skips < kSkips; ++skips) count = Receive(*buffer, room);
  return count == kSkipped ? kNothing : count;
}

int InputSock::ReceiveOrWait(Buffer& buffer, std::size_t room) {
  const int count = Receive(buffer, room);
  if (count != kNothing || !WaitReadEvent(kSelectTimeoutUs)) return count;
  return Receive(buffer, room);
}

/// The length of a datagram to deliver, kSkipped, kNothing, or -1 when the system reports an error.
/// A damaged datagram wakes the wait, but the system drops and counts it when it is to be taken:
/// then there is nothing.
int InputSock::Receive(Buffer& buffer, std::size_t room) {
  sockaddr_in sender = {};
  const int count = sock_.Receive(buffer.data, room, sender);
  if (count < 0) return errno == EAGAIN ? kNothing : -1;
  if (!Admit(sender, static_cast<std::size_t>(count))) return kSkipped;
  buffer.data_offset = 0;
  buffer.length = static_cast<std::uint64_t>(count);
  buffer.arrival_ns = 0;
  buffer.sender = SenderOf(sender);
  return count;
}

/// Whether a datagram is to be delivered; it is counted otherwise.
bool InputSock::Admit(const sockaddr_in& sender, std::size_t length) {
  NoteSender(sender);
  const bool wanted = IsSource(sender.sin_addr.s_addr);
  if (wanted && length > 0) return true;
  (wanted ? empty_ : other_source_).Add();
  return false;
}

int InputSock::RecvBatchPackets(std::vector<std::shared_ptr<Buffer>>& buffers, int max_count,
                                unsigned size) {
  if (max_count < 1 || !sock_.IsOpen() || !batch_ready_) return -1;
  if (!WaitReadEvent(kSelectTimeoutUs)) return 0;
  return ReceiveBatch(buffers, static_cast<std::size_t>(max_count), size);
}

int InputSock::RecvWaiting(std::vector<std::shared_ptr<Buffer>>& buffers, std::size_t most) {
  const int count = ReceiveBatch(buffers, most, Buffer::kDefaultCapacity);
  int wanted = 0;
  for (int i = 0; i < count; ++i) {
    const auto slot = static_cast<std::size_t>(i);
    if (!Admit(addrs_[slot], buffers[slot]->length)) continue;
    std::swap(buffers[static_cast<std::size_t>(wanted++)], buffers[slot]);
  }
  return count < 0 ? count : wanted;
}

void InputSock::WaitForPackets(const WakeDescriptor& wake) {
  sock_.WaitReadOr(wake);
}

/// What is waiting now, at most `count` datagrams and one for each buffer.
int InputSock::ReceiveBatch(std::vector<std::shared_ptr<Buffer>>& buffers, std::size_t count,
                            unsigned size) {
  const std::size_t batch = std::min({count, kBatch, buffers.size()});
  for (std::size_t i = 0; i < batch; ++i) {
    if (!buffers[i]) buffers[i] = std::make_shared<Buffer>(size);
    iovecs_[i] = {buffers[i]->data, std::min<std::size_t>(size, buffers[i]->capacity)};
    msghdr& header = msgs_[i].msg_hdr;
    header.msg_iov = &iovecs_[i];
    header.msg_iovlen = 1;
    header.msg_name = &addrs_[i];
    header.msg_namelen = sizeof addrs_[i];
    header.msg_control = arrivals_[i].bytes;
    header.msg_controllen = sizeof arrivals_[i].bytes;
  }
  const int arrived = ::recvmmsg(sock_.Descriptor(), msgs_.get(), static_cast<unsigned>(batch),
                                 MSG_DONTWAIT, nullptr);
  if (arrived < 0) return errno == EAGAIN ? 0 : arrived;
  for (std::size_t i = 0; i < static_cast<std::size_t>(arrived); ++i) {
    buffers[i]->data_offset = 0;
    buffers[i]->length = msgs_[i].msg_len;
    buffers[i]->arrival_ns = ArrivalNs(msgs_[i].msg_hdr);
    buffers[i]->sender = SenderOf(addrs_[i]);
  }
  return arrived;
}

void InputSock::NoteSender(const sockaddr_in& sender) {
  const std::uint64_t packed =
      std::uint64_t{ntohl(sender.sin_addr.s_addr)} << 16U | ntohs(sender.sin_port);
  if (first_sender_.Value() == 0) first_sender_.Set(packed);
  if (packed == first_sender_.Value()) return;
  other_sender_.Set(packed);
  of_other_senders_.Add();
}

Input::Senders InputSock::SeenSenders() const {
  const auto unpack = [](const Counter& packed) {
    const std::uint64_t value = packed.Value();
    return PacketSender{static_cast<std::uint32_t>(value >> 16U),
                        static_cast<std::uint16_t>(value)};
  };
  const std::uint64_t of_others = of_other_senders_.Value();  // first: who counted them is known
  return {unpack(first_sender_), unpack(other_sender_), of_others};
}

bool InputSock::SetNonblock() const {
  return sock_.SetNonblock();
}

bool InputSock::WaitReadEvent(const int& timeout_us) const {
  return sock_.WaitRead(std::chrono::microseconds(timeout_us));
}

bool InputSock::WaitWriteEvent(const int& timeout_us) const {
  return sock_.WaitWrite(std::chrono::microseconds(timeout_us));
}

void InputSock::Close() {
  sock_.Close();
}

void InputSock::CleanupBatchRecv() {
  iovecs_.reset();
  msgs_.reset();
  addrs_.reset();
  arrivals_.reset();
  batch_ready_ = false;
}

std::uint64_t InputSock::DroppedDatagrams() const {
  return lidar::DroppedDatagrams(sock_.Descriptor());
}

std::uint64_t InputSock::SocketBufferBytes() const {
  return GrantedBufferBytes(sock_.Descriptor());
}

}  // namespace orliq::lidar
