// SPDX-License-Identifier: Apache-2.0
#include "manager/PacketFlow.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace orliq::lidar {
namespace {

// Buffers kept for reuse, 12.7 MB. A stalled callback may have needed more: those are freed.
constexpr std::uint64_t kSpareBuffers = 8192;

constexpr unsigned kNoBound = 0;  // of a push

// To ask for several packets when one is waiting costs half as much again as to ask for that one. When
// packets come as close as this, others are likely to wait behind.
constexpr std::size_t kBatch = 64;
constexpr std::uint64_t kCloseNs = 30'000;
constexpr std::chrono::milliseconds kErrorPause{1};

// What a starved thread has left in the socket is taken when it ends, as many packets as a buffer of
// 16 MiB holds: a flood does not hold up whoever stops the driver.
constexpr std::size_t kMostAtEnd = 256 * kBatch;

// Room that the socket needs [bytes] for the packets that gather while the receiving thread sleeps. The
// system counts up to 5 KB for one.
constexpr std::uint64_t kRoom = std::uint64_t{6} * 1024 * ArrivalRhythm::kPackets;

// For so many packets, or so long after the last time, the decoding thread is woken.
constexpr std::uint64_t kEnough = ArrivalRhythm::kPackets;
constexpr auto kLongestDelayNs = static_cast<std::uint64_t>(ArrivalRhythm::kLongest.count());
// For so long after it was woken last the decoding thread looks again by itself: any packet that comes
// later does wake it.
constexpr std::chrono::milliseconds kStragglers{10};

/// Datagrams that are no packets for the decoder.
std::uint64_t PassedOver(const Input& input) {
  return input.OtherSourceDatagrams() + input.EmptyDatagrams();
}

std::uint64_t NowNs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::nanoseconds(now).count());
}

}  // namespace

void PacketFlow::Receive(Input& input, const Bound& shows_bound) {
  const std::size_t taken = TakeWaiting(input, shows_bound);
  if (taken >= kBatch) return;  // more may be waiting
  if (taken == 0 || !LetGather()) input.WaitForPackets(receiver_wakeup_);
}

void PacketFlow::ReceiveRest(Input& input, const Bound& shows_bound) {
  for (std::size_t taken = 0; taken < kMostAtEnd; taken += kBatch) {
    close_ = true;
    if (TakeWaiting(input, shows_bound) < kBatch) return;
  }
}

void PacketFlow::BeginReceiving(const Input& input) {
  receiver_wakeup_.Clear();
  passed_over_ = PassedOver(input);
  roomy_ = input.SocketBufferBytes() >= kRoom;
}

/// Sleeps until several packets have come, when the next ones are not urgent; false when they are, or
/// would not all find room in the socket or within the limit.
bool PacketFlow::LetGather() {
  const std::uint64_t limit = packets_.max_size;
  if (!roomy_ || (limit != 0 && limit < kBatch)) return false;
  const std::chrono::nanoseconds pause = rhythm_.Pause(NowNs());
  if (pause.count() == 0) return false;
  std::this_thread::sleep_for(pause);
  close_ = true;
  return true;
}

/// How many datagrams it took, those that the input passed over among them.
std::size_t PacketFlow::TakeWaiting(Input& input, const Bound& shows_bound) {
  batch_.resize(kBatch);
  for (auto& buffer : batch_) {
    if (!buffer) buffer = GetBuffer();
  }
  const int count = input.RecvWaiting(batch_, close_ ? kBatch : 1);
  if (count < 0) {
    receive_errors_.Add();
    std::this_thread::sleep_for(kErrorPause);  // a broken source would keep the thread busy
  }
  const auto packets = static_cast<std::size_t>(std::max(count, 0));
  const std::uint64_t before = std::exchange(passed_over_, PassedOver(input));
  const std::size_t taken = packets + (passed_over_ - before);
  const bool bound = std::any_of(batch_.begin(), batch_.begin() + std::max(count, 0),
                                 [&](const auto& buffer) { return shows_bound(*buffer); });
  if (taken > 0) NoteArrival(taken, bound);
  if (packets > 0) Enqueue(packets);
  Announce(bound);
  return taken;
}

void PacketFlow::NoteArrival(std::size_t datagrams, bool bound) {
  const std::uint64_t now = NowNs();
  close_ = now - arrival_ns_ < kCloseNs;
  arrival_ns_ = now;
  rhythm_.Note(now, datagrams, bound);
}

/// The first so many of the batch.
void PacketFlow::Enqueue(std::size_t count) {
  last_packet_ns_.Set(arrival_ns_);
  unannounced_ += count;
  received_.Add(count);
  for (std::size_t i = 0; i < count; ++i) received_bytes_.Add(batch_[i]->length);
  packets_.PushAll(batch_.data(), count);
  std::fill_n(batch_.begin(), count, nullptr);
  DropBeyondLimit();
}

/// Wakes the decoding thread, if that is worth it.
void PacketFlow::Announce(bool at_once) {
  if (unannounced_ == 0) return;
  const std::uint64_t now = NowNs();  // after they were queued, so that none is left behind
  if (!at_once && unannounced_ < Enough() && now - announced_ns_ < kLongestDelayNs) return;
  unannounced_ = 0;
  announced_ns_ = now;
  WakeDecoder();
}

/// Where a limit gives the oldest up there is no room for many to wait for a wake-up.
std::uint64_t PacketFlow::Enough() const {
  const std::uint64_t limit = packets_.max_size;
  return limit == 0 ? kEnough : std::clamp<std::uint64_t>(limit / 2, 1, kEnough);
}

void PacketFlow::WaitForPackets() {
  if (flowing_) {
    flowing_ = decoder_wakeup_.WaitFor(kStragglers);
  } else {
    decoder_wakeup_.Wait();
    flowing_ = true;
  }
}

void PacketFlow::ReleaseBuffers() {
  for (auto& buffer : batch_) {
    if (buffer) Recycle(std::exchange(buffer, nullptr));
  }
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
