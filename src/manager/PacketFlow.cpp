// SPDX-License-Identifier: Apache-2.0
#include "manager/PacketFlow.h"

#include <chrono>

namespace orliq::lidar {
namespace {

// Buffers kept for reuse, 12.7 MB. A stalled callback may have needed more: those are freed.
constexpr std::uint64_t kSpareBuffers = 8192;

constexpr unsigned kNoBound = 0;  // of a push

std::uint64_t NowNs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::nanoseconds(now).count());
}

}  // namespace

bool PacketFlow::Receive(Input& input, std::shared_ptr<Buffer>& buffer) {
  const int count = input.RecvPacket(buffer, Buffer::kDefaultCapacity, nullptr, true);
  if (count < 0) receive_errors_.Add();
  if (count < 1) return false;
  last_packet_ns_.Set(NowNs());
  received_.Add();
  received_bytes_.Add(static_cast<std::uint64_t>(count));
  packets_.Push(buffer, kNoBound);
  DropBeyondLimit();
  buffer = GetBuffer();
  return true;
}

void PacketFlow::DropBeyondLimit() {
  const std::uint64_t limit = packets_.max_size;
  while (limit != 0 && packets_.size > limit) {
    const std::shared_ptr<Buffer> oldest = packets_.Pop();
    if (!oldest) return;
    dropped_by_limit_.Add();
    Recycle(oldest);
  }
}

std::shared_ptr<Buffer> PacketFlow::GetBuffer() {
  if (auto buffer = free_.Pop()) return buffer;
  ++buffers_;
  return std::make_shared<Buffer>();
}

std::shared_ptr<Buffer> PacketFlow::Take() {
  return packets_.size == 0 ? nullptr : packets_.Pop();
}

void PacketFlow::Recycle(const std::shared_ptr<Buffer>& buffer) {
  if (free_.size < kSpareBuffers) {
    free_.Push(buffer, kNoBound);
  } else {
    --buffers_;
  }
}

void PacketFlow::Count(DriverStatistics& statistics) const {
  statistics.dropped_by_limit = dropped_by_limit_.Value();
  statistics.queued = packets_.size;
  statistics.queued_max = packets_.most;
  statistics.received = received_.Value();
  statistics.received_bytes = received_bytes_.Value();
  statistics.receive_errors = receive_errors_.Value();
  statistics.buffers = buffers_;
  const std::uint64_t last = last_packet_ns_.Value();
  statistics.last_packet_age_s = last == 0 ? -1.0 : static_cast<double>(NowNs() - last) * 1e-9;
}

}  // namespace orliq::lidar
