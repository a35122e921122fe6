// SPDX-License-Identifier: Apache-2.0
#include "orliq/network/DatagramQueue.h"

#include <utility>

namespace orliq::cli {

static_assert(sizeof(DatagramBatch::Entry) <= 44, "the memory bound that the header tells");

DatagramQueue::DatagramQueue(std::size_t max_bytes)
    : max_bytes_(max_bytes), waiting_(EmptyBatch()) {}

DatagramBatch DatagramQueue::EmptyBatch() const {
  DatagramBatch batch;
  batch.entries.reserve(kMaxEntries);
  batch.payloads.reserve(max_bytes_);
  return batch;
}

void DatagramQueue::Push(const UdpReceiver::Datagram& datagram, std::size_t sensor) {
  const std::lock_guard lock(mutex_);
  auto& [entries, payloads] = waiting_;
  if (entries.size() == kMaxEntries || payloads.size() + datagram.bytes > max_bytes_) {
    ++lost_;
    return;
  }
  entries.push_back({datagram.time_s, datagram.endpoints, static_cast<std::uint32_t>(sensor),
                     payloads.size(), datagram.bytes});
  payloads.insert(payloads.end(), datagram.payload, datagram.payload + datagram.bytes);
  if (entries.size() == 1) arrival_.notify_one();
}

void DatagramQueue::Take(DatagramBatch& batch, std::chrono::milliseconds patience) {
  batch.entries.clear();
  batch.payloads.clear();
  std::unique_lock lock(mutex_);
  arrival_.wait_for(lock, patience, [this] { return !waiting_.entries.empty(); });
  std::swap(waiting_, batch);
}

std::uint64_t DatagramQueue::Lost() const {
  const std::lock_guard lock(mutex_);
  return lost_;
}

}  // namespace orliq::cli
